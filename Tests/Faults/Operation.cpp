#include "Operation.h"

#include <future>
#include <memory>
#include <ostream>

using platform::encodeUTF8;
using platform::Error;

namespace {

/// Calls the operation with a handler of any form whose last argument is the error.
template <typename Start>
std::optional<Error> errorOf(Start start) {
    const auto promise = std::make_shared<std::promise<std::optional<Error>>>();
    auto error = promise->get_future();
    start([promise](const auto&... arguments) {
        // The last one counts: each before it is overwritten.
        std::optional<Error> last;
        const auto take = [&last](const auto& argument) {
            if constexpr (std::is_same_v<decltype(argument), const std::optional<Error>&>)
                last = argument;
        };
        (take(arguments), ...);
        promise->set_value(last);
    });
    return error.get();
}

std::optional<Error> obtainListing(const std::string& server) {
    return errorOf([&](auto handler) {
        VTAPI::APIWithServer(server).obtainServerListingWithCompletionHandler(handler);
    });
}

std::optional<Error> requestLogin(const std::string& server) {
    return errorOf([&](auto handler) {
        VTAPI::APIWithServer(server).requestLoginURLDataForProvider("google", handler);
    });
}

std::optional<Error> exchange(const std::string& server) {
    return errorOf([&](auto handler) {
        VTAPI::APIWithServer(server).attemptTokenExchangeWithCode1("one", "two", handler);
    });
}

std::optional<Error> obtainUserInfo(const std::string& server) {
    return errorOf([&](auto handler) {
        VTAPI::APIWithServer(server).obtainUserInfoUsingToken(encodeUTF8("token"), handler);
    });
}

std::optional<Error> obtainUploadTarget(const std::string& server) {
    return errorOf([&](auto handler) {
        VTAPI::APIWithServer(server).obtainUploadTargetUsingToken(encodeUTF8("token"), "report.pdf",
                                                                  handler);
    });
}

constexpr const char* unexpected = "An unexpected error occured.";
constexpr const char* unexpectedInExchange = "An unexpected error occured";
constexpr const char* incomplete = "The upload could not be completed.";
constexpr const char* notAURL =
    "The upload could not be completed because the upload destination is not a URL";

} // namespace

const std::vector<Operation>& Operation::all() {
    static const std::vector<Operation> operations = {
        {.name = "listing",
         .path = "/api/mobile/v2/registration_servers",
         .answer = R"({"data":{"servers":{"One":"one.example"}}})",
         .members = {{"data", unexpected}, {"data.servers", unexpected}},
         .perform = obtainListing},
        {.name = "login",
         .path = "/api/desktop/v2/login",
         .answer = R"({"data":{"code":"one","login_url":"https://login.example/"}})",
         .members = {{"data", unexpected},
                     {"data.code", unexpected},
                     {"data.login_url", unexpected}},
         .perform = requestLogin},
        {.name = "exchange",
         .path = "/api/desktop/v2/token",
         .answer = R"({"data":{"token":"token"}})",
         .members = {{"data", unexpectedInExchange}, {"data.token", unexpectedInExchange}},
         .perform = exchange},
        {.name = "user information",
         .path = "/api/session/user_info",
         .answer = R"({"data":{"email":"ada@example.com"}})",
         .members = {{"data", unexpected}},
         .perform = obtainUserInfo},
        {.name = "upload target",
         .path = "/api/my_prints/v1/upload_target",
         .answer = R"({"data":{"type":"url","method":"PUT","url":"https://upload.example/"}})",
         .members = {{"data", notAURL},
                     {"data.type", notAURL},
                     {"data.method", incomplete},
                     {"data.url", incomplete}},
         .perform = obtainUploadTarget}};
    return operations;
}

std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
    return stream << operation.name;
}
