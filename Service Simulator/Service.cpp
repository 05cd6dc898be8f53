#include "Service.h"

#include "Query.h"
#include "SignInPage.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <iomanip>
#include <random>
#include <sstream>
#include <string_view>

namespace simulator {

namespace {

using JSON = nlohmann::ordered_json;

constexpr const char* defaultEmail = "ada@example.com";
constexpr std::string_view uploadsPrefix = "/uploads/";
constexpr std::array callbackSchemes{"zantiq", "veltora", "printdriverregistration"};
/// The provider's name as the user knows it; empty for one that is not known.
std::string shownName(const std::string& provider) {
    return provider == "google" ? "Google" : provider == "microsoft" ? "Microsoft" : "";
}

std::string dumped(const JSON& value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

Answer success(const JSON& data, int status = 200) {
    return {.status = status, .body = dumped({{"data", data}})};
}

Answer failure(int status, const std::string& message) {
    return {.status = status, .body = dumped({{"error", {{"message", message}}}})};
}

Answer unauthorized() {
    Answer answer = failure(401, "A valid bearer token is needed.");
    answer.headers.emplace_back("WWW-Authenticate", "Bearer");
    return answer;
}

Answer page(int status, const std::string& html) {
    return {
        .status = status,
        .headers = {{"Content-Type", "text/html; charset=utf-8"}, {"Cache-Control", "no-store"}},
        .body = html};
}

Answer expiredSignIn() {
    return page(404, noticeHTML("This sign-in is not valid any more",
                                "Start the registration again from the application."));
}

std::string randomIdentifier() {
    constexpr int words = 4;
    std::random_device source;
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (int word = 0; word < words; ++word) {
        text << std::setw(8) << source();
    }
    return text.str();
}

/// The simulator under the name that the client used for it.
std::string hostOf(const RecordedRequest& request) {
    return request.value("Host").value_or("");
}

bool isJSON(const RecordedRequest& request) {
    const std::string type = request.value("Content-Type").value_or("");
    return type.substr(0, type.find(';')) == "application/json";
}

bool isUpload(const std::string& path) {
    return path.starts_with(uploadsPrefix);
}

} // namespace

const std::vector<Service::Route>& Service::routes() {
    static const std::vector<Route> all{
        {"GET", "/api/mobile/v2/registration_servers", &Service::listServers},
        {"GET", "/api/desktop/v2/login", &Service::beginLogin},
        {"POST", "/api/desktop/v2/token", &Service::exchangeCodes},
        {"GET", "/api/session/user_info", &Service::describeUser},
        {"POST", "/api/my_prints/v1/upload_target", &Service::makeUploadTarget},
        {"GET", "/sign-in", &Service::showSignInPage},
        {"POST", "/sign-in", &Service::completeSignIn},
    };
    return all;
}

Answer Service::answer(const RecordedRequest& request) {
    const std::lock_guard lock(mutex_);
    const std::string path = request.path();
    if (request.values("Host").size() != 1) {
        return failure(400, "One header Host is needed.");
    }
    if (path.starts_with("/api/") &&
        request.value("x-veltora-client-version").value_or("").empty()) {
        return failure(400, "The header x-veltora-client-version is needed.");
    }
    if (isUpload(path)) {
        return receiveUpload(request, path.substr(uploadsPrefix.size()));
    }
    std::string allowed;
    for (const Route& route : routes()) {
        if (path == route.path && request.method == route.method) {
            return (this->*route.handler)(request);
        }
        if (path == route.path) {
            allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
        }
    }
    if (allowed.empty()) {
        return failure(404, "There is nothing here.");
    }
    Answer answer = failure(405, "This method is not for this path.");
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}

void Service::acceptToken(const std::string& token) {
    const std::lock_guard lock(mutex_);
    accounts_[token] = defaultEmail;
}

void Service::setServers(std::vector<std::pair<std::string, std::string>> servers) {
    const std::lock_guard lock(mutex_);
    servers_ = std::move(servers);
}

Answer Service::listServers(const RecordedRequest& request) {
    JSON servers = JSON::object();
    const std::vector<std::pair<std::string, std::string>> demo{{"Ardentra Demo", hostOf(request)}};
    for (const auto& [code, address] : servers_.value_or(demo)) {
        servers[code] = address;
    }
    return success({{"servers", servers}});
}

Answer Service::beginLogin(const RecordedRequest& request) {
    const Query query = Query::ofTarget(request.target);
    const std::string provider = query.value("provider").value_or("");
    const std::string scheme = query.value("scheme").value_or("");
    if (shownName(provider).empty()) {
        return failure(400, "The provider is not known.");
    }
    if (query.value("redirect") != "false") {
        return failure(400, "Only redirect=false is possible.");
    }
    if (std::find(callbackSchemes.begin(), callbackSchemes.end(), scheme) ==
        callbackSchemes.end()) {
        return failure(400, "The scheme is not known.");
    }
    const std::string session = randomIdentifier();
    SignIn& signIn = signIns_[session];
    signIn = {.ephemeralCode = randomIdentifier(), .provider = provider, .scheme = scheme};
    return success({{"code", signIn.ephemeralCode},
                    {"login_url", "https://" + hostOf(request) + "/sign-in?session=" + session}});
}

Service::SignIn* Service::signInOfSession(const std::optional<std::string>& session) {
    const auto found = signIns_.find(session.value_or(""));
    return found == signIns_.end() ? nullptr : &found->second;
}

Answer Service::showSignInPage(const RecordedRequest& request) {
    const Query query = Query::ofTarget(request.target);
    const auto session = query.value("session");
    SignIn* const signIn = signInOfSession(session);
    if (signIn == nullptr) {
        return expiredSignIn();
    }
    if (autoSignIn_ || query.value("auto") == "1") {
        return sendBack(*signIn, defaultEmail);
    }
    return page(200, toHTML({.provider = shownName(signIn->provider),
                             .session = *session,
                             .email = defaultEmail}));
}

Answer Service::completeSignIn(const RecordedRequest& request) {
    const Query form(request.body);
    const auto session = form.value("session");
    SignIn* const signIn = signInOfSession(session);
    if (signIn == nullptr) {
        return expiredSignIn();
    }
    const std::string email = form.value("email").value_or("");
    if (email.find('@') == std::string::npos) {
        return page(422, toHTML({.provider = shownName(signIn->provider),
                                 .session = *session,
                                 .email = email,
                                 .problem = "Enter an e-mail address."}));
    }
    return sendBack(*signIn, email);
}

Answer Service::sendBack(SignIn& signIn, const std::string& email) {
    signIn.email = email;
    signIn.callbackCode = randomIdentifier();
    return {.status = 303,
            .headers = {{"Location",
                         signIn.scheme + "://desktop_registration?code=" + *signIn.callbackCode},
                        {"Cache-Control", "no-store"}}};
}

Answer Service::exchangeCodes(const RecordedRequest& request) {
    const Query query = Query::ofTarget(request.target);
    const auto ephemeralCode = query.value("code");
    const auto callbackCode = query.value("code2");
    const auto found = std::find_if(signIns_.begin(), signIns_.end(), [&](const auto& entry) {
        return entry.second.callbackCode && entry.second.callbackCode == callbackCode &&
               entry.second.ephemeralCode == ephemeralCode;
    });
    if (found == signIns_.end()) {
        return failure(400, "The codes are not valid.");
    }
    const std::string token = randomIdentifier();
    accounts_[token] = found->second.email;
    signIns_.erase(found);
    return success({{"token", token}});
}

std::optional<std::string> Service::accountOf(const RecordedRequest& request) const {
    constexpr std::string_view scheme = "Bearer ";
    const auto values = request.values("Authorization");
    if (values.size() != 1 || !values.front().starts_with(scheme)) {
        return std::nullopt;
    }
    const auto found = accounts_.find(values.front().substr(scheme.size()));
    return found == accounts_.end() ? std::nullopt : std::optional(found->second);
}

Answer Service::describeUser(const RecordedRequest& request) {
    const auto email = accountOf(request);
    return email ? success({{"email", *email}, {"name", "Ada Example"}}) : unauthorized();
}

Answer Service::makeUploadTarget(const RecordedRequest& request) {
    if (!accountOf(request)) {
        return unauthorized();
    }
    if (!isJSON(request)) {
        return failure(415, "The body is to be application/json.");
    }
    const JSON body = JSON::parse(request.body, nullptr, false);
    if (body.is_discarded()) {
        return failure(400, "The body is not JSON.");
    }
    if (!body.is_object() || !body.contains("file_name") || !body["file_name"].is_string()) {
        return failure(422, "The body is to be an object with a string file_name.");
    }
    const std::string identifier = randomIdentifier();
    uploads_[identifier] = std::nullopt;
    return success({{"type", "url"},
                    {"url", "https://" + hostOf(request) + "/uploads/" + identifier},
                    {"method", "PUT"}});
}

Answer Service::receiveUpload(const RecordedRequest& request, const std::string& identifier) {
    const auto upload = uploads_.find(identifier);
    if (upload == uploads_.end()) {
        return failure(404, "There is no such upload.");
    }
    if (request.method == "PUT") {
        upload->second = request.body;
        return success({{"size", request.body.size()}}, 201);
    }
    if (request.method != "GET") {
        Answer answer = failure(405, "This method is not for this path.");
        answer.headers.emplace_back("Allow", "GET, PUT");
        return answer;
    }
    if (!upload->second) {
        return failure(404, "Nothing has been uploaded yet.");
    }
    return {.headers = {{"Content-Type", "application/octet-stream"}}, .body = *upload->second};
}

} // namespace simulator
