#include "VTAPI.h"

#include "Platform/Dispatch.h"
#include "Platform/URLSession.h"
#include "ServiceAnswers.h"
#include "ServiceErrors.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

using platform::Data;
using platform::Error;
using platform::JSONSerialization;
using platform::JSONValue;
using platform::URL;
using platform::URLComponents;
using platform::URLRequest;
using platform::URLSession;

namespace {

constexpr const char* clientVersion = "8.114.511.0";
constexpr const char* versionHeader = "x-veltora-client-version";

/// Calls the handler with the error where it is always called, on a background thread.
void refuse(VTAPI::JSONHandler handler, Error error) {
    platform::dispatchToBackground([handler = std::move(handler), error = std::move(error)](
                                       const std::stop_token&) { handler(std::nullopt, error); });
}

/// Reads the decimal integer that a text starts with; 0 without digits. A number beyond the range
/// becomes the end of the range.
long integerValue(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    long value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        return text.starts_with('-') ? std::numeric_limits<long>::min()
                                     : std::numeric_limits<long>::max();
    return value;
}

/// The header's value for a token, or absent for a token that is no text or could end the header.
std::optional<std::string> bearer(const Data& token) {
    const std::optional<std::string> text = platform::decodeUTF8(token);
    if (!text || platform::holdsControlCharacter(*text))
        return std::nullopt;
    return "Bearer " + *text;
}

} // namespace

VTAPI::VTAPI(std::string server)
    : server_(std::move(server)), versionHeaderValue_(std::string("macos-") + clientVersion) {}

VTAPI VTAPI::APIWithServer(const std::string& server) {
    return VTAPI(server);
}

std::optional<URL> VTAPI::URLWithServer(const std::string& server, const std::string& path) {
    return URLWithServer(server, path, {});
}

std::optional<URL> VTAPI::URLWithServer(const std::string& server, const std::string& path,
                                        const std::map<std::string, std::string>& query) {
    URLComponents components;
    components.setScheme("https");
    const std::size_t colon = server.find(':');
    components.setHost(server.substr(0, colon));
    if (colon != std::string::npos)
        components.setPort(integerValue(std::string_view(server).substr(colon + 1)));
    components.setPath(path);
    std::vector<platform::URLQueryItem> items;
    items.reserve(query.size());
    for (const auto& [name, value] : query)
        items.push_back({name, value});
    components.setQueryItems(std::move(items));
    return components.URL();
}

void VTAPI::performHTTPMethod(const std::string& method, const std::optional<URL>& toURL,
                              JSONHandler returningJSONWithHandler) const {
    if (!toURL) {
        refuse(std::move(returningJSONWithHandler), noURLError());
        return;
    }
    URLRequest request = URLRequest::requestWithURL(*toURL);
    request.setHTTPMethod(method);
    request.addValue(versionHeaderValue_, versionHeader);
    performURLRequest(std::move(request), std::move(returningJSONWithHandler));
}

void VTAPI::performURLRequest(URLRequest request, JSONHandler returningJSONWithHandler) const {
    const auto configuration = platform::URLSessionConfiguration::ephemeralSessionConfiguration();
    URLSession::sessionWithConfiguration(configuration)
        .dataTaskWithRequest(std::move(request),
                             [handler = std::move(returningJSONWithHandler)](
                                 const std::optional<Data>& body, std::optional<Error> error) {
                                 judgeAnswer(handler, body, std::move(error));
                             })
        .resume();
}

void VTAPI::obtainUploadTargetUsingToken(const Data& token, const std::string& forFilename,
                                         UploadTargetHandler completionHandler) const {
    JSONHandler judge = [handler = std::move(completionHandler)](
                            const std::optional<JSONValue>& json, std::optional<Error> error) {
        if (error)
            handler(std::nullopt, std::nullopt, std::move(error));
        else
            judgeUploadTarget(handler, *json);
    };
    std::optional<Error> writeError;
    std::optional<Data> body =
        JSONSerialization::dataWithJSONObject({{"file_name", forFilename}}, writeError);
    if (!body) {
        refuse(std::move(judge), uploadIncomplete());
        return;
    }
    performAuthorized("POST", "/api/my_prints/v1/upload_target", token, *std::move(body),
                      uploadIncomplete, std::move(judge));
}

void VTAPI::obtainServerListingWithCompletionHandler(ServerListingHandler handler) const {
    performHTTPMethod("GET", URLWithServer(server_, "/api/mobile/v2/registration_servers"),
                      [handler = std::move(handler)](const std::optional<JSONValue>& json,
                                                     std::optional<Error> error) {
                          if (error)
                              handler(std::nullopt, std::move(error));
                          else
                              judgeServerListing(handler, *json);
                      });
}

void VTAPI::requestLoginURLDataForProvider(const std::optional<std::string>& provider,
                                           LoginURLHandler completionHandler) const {
    JSONHandler judge = [handler = std::move(completionHandler)](
                            const std::optional<JSONValue>& json, std::optional<Error> error) {
        if (error)
            handler(std::nullopt, std::nullopt, std::move(error));
        else
            judgeLoginURL(handler, *json);
    };
    if (!provider) {
        refuse(std::move(judge), unexpected());
        return;
    }
    const bool ownScheme = server_.find("zantiq") != std::string::npos;
    performHTTPMethod("GET",
                      URLWithServer(server_, "/api/desktop/v2/login",
                                    {{"provider", *provider},
                                     {"redirect", "false"},
                                     {"scheme", ownScheme ? "zantiq" : "printdriverregistration"}}),
                      std::move(judge));
}

void VTAPI::attemptTokenExchangeWithCode1(const std::optional<std::string>& code1,
                                          const std::optional<std::string>& code2,
                                          TokenHandler completionHandler) const {
    JSONHandler judge = [handler = std::move(completionHandler)](
                            const std::optional<JSONValue>& json, std::optional<Error> error) {
        if (error)
            handler(std::nullopt, std::move(error));
        else
            judgeToken(handler, *json);
    };
    if (!code1 || !code2) {
        refuse(std::move(judge), unexpectedInExchange());
        return;
    }
    performHTTPMethod(
        "POST",
        URLWithServer(server_, "/api/desktop/v2/token", {{"code", *code1}, {"code2", *code2}}),
        std::move(judge));
}

void VTAPI::obtainUserInfoUsingToken(const Data& token,
                                     UserInfoHandler withCompletionHandler) const {
    performAuthorized("GET", "/api/session/user_info", token, {}, unexpected,
                      [handler = std::move(withCompletionHandler)](
                          const std::optional<JSONValue>& json, std::optional<Error> error) {
                          if (error)
                              handler(std::nullopt, std::move(error));
                          else
                              judgeUserInfo(handler, *json);
                      });
}

void VTAPI::performAuthorized(const std::string& method, const std::string& path, const Data& token,
                              Data body, Error (*badTokenError)(), JSONHandler handler) const {
    const std::optional<std::string> authorization = bearer(token);
    if (!authorization) {
        refuse(std::move(handler), badTokenError());
        return;
    }
    const std::optional<URL> url = URLWithServer(server_, path);
    if (!url) {
        refuse(std::move(handler), noURLError());
        return;
    }
    URLRequest request = URLRequest::requestWithURL(*url);
    request.setHTTPMethod(method);
    request.setHTTPBody(std::move(body));
    request.setValue("application/json", "Content-Type");
    request.setValue(*authorization, "Authorization");
    request.setValue(versionHeaderValue_, versionHeader);
    performURLRequest(std::move(request), std::move(handler));
}
