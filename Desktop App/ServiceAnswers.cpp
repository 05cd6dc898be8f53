#include "ServiceAnswers.h"

#include "ServiceErrors.h"

#include <utility>

using platform::Data;
using platform::Error;
using platform::JSONSerialization;
using platform::JSONValue;
using platform::URL;

namespace {

std::optional<std::string> stringMember(const std::optional<JSONValue>& object,
                                        const std::string& name) {
    const std::optional<JSONValue> member = object ? object->member(name) : std::nullopt;
    return member ? member->string() : std::nullopt;
}

} // namespace

void judgeAnswer(const VTAPI::JSONHandler& handler, const std::optional<Data>& body,
                 std::optional<Error> transportError) {
    if (transportError) {
        handler(std::nullopt, contactError(*std::move(transportError)));
        return;
    }
    std::optional<Error> parseError;
    std::optional<JSONValue> json = JSONSerialization::JSONObjectWithData(*body, parseError);
    if (parseError)
        handler(std::nullopt, serviceError("Server is not responding", *std::move(parseError)));
    else
        handler(std::move(json), std::nullopt);
}

void judgeUploadTarget(const VTAPI::UploadTargetHandler& handler, const JSONValue& json) {
    const std::optional<JSONValue> data = json.member("data");
    if (stringMember(data, "type") != "url") {
        handler(std::nullopt, std::nullopt,
                serviceError("The upload could not be completed because the upload destination is "
                             "not a URL"));
        return;
    }
    std::optional<std::string> url = stringMember(data, "url");
    std::optional<std::string> method = stringMember(data, "method");
    if (!url || !method)
        handler(std::nullopt, std::nullopt, uploadIncomplete());
    else
        handler(std::move(method), std::move(url), std::nullopt);
}

void judgeServerListing(const VTAPI::ServerListingHandler& handler, const JSONValue& json) {
    const std::optional<JSONValue> data = json.member("data");
    const std::optional<JSONValue> servers = data ? data->member("servers") : std::nullopt;
    if (!servers || !servers->isObject()) {
        handler(std::nullopt, unexpected());
        return;
    }
    std::vector<VTAPI::ServerEntry> listing;
    for (const auto& [code, value] : servers->members()) {
        if (const std::optional<std::string> address = value.string())
            listing.push_back({{VTAPIRegistrationServerCodeKey, code},
                               {VTAPIRegistrationServerAddressKey, *address}});
    }
    handler(std::move(listing), std::nullopt);
}

void judgeLoginURL(const VTAPI::LoginURLHandler& handler, const JSONValue& json) {
    const std::optional<JSONValue> data = json.member("data");
    std::optional<std::string> code = stringMember(data, "code");
    const std::optional<std::string> text = stringMember(data, "login_url");
    std::optional<URL> url = text && !text->empty() ? URL::URLWithString(*text) : std::nullopt;
    if (!code || !url)
        handler(std::nullopt, std::nullopt, unexpected());
    else
        handler(std::move(code), std::move(url), std::nullopt);
}

void judgeToken(const VTAPI::TokenHandler& handler, const JSONValue& json) {
    std::optional<std::string> token = stringMember(json.member("data"), "token");
    if (!token)
        handler(std::nullopt, unexpectedInExchange());
    else
        handler(std::move(token), std::nullopt);
}

void judgeUserInfo(const VTAPI::UserInfoHandler& handler, const JSONValue& json) {
    std::optional<JSONValue> data = json.member("data");
    if (!data || !data->isObject())
        handler(std::nullopt, unexpected());
    else
        handler(std::move(data), std::nullopt);
}
