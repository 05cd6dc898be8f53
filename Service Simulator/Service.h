#pragma once

#include "Answer.h"
#include "Request.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

/// The registration service itself: what a good one answers to each request. JSON answers are
/// {"data": ...} or {"error": {"message": ...}}. Any thread may use it.
class Service {
public:
    explicit Service(bool autoSignIn) : autoSignIn_(autoSignIn) {}

    Answer answer(const RecordedRequest& request);

    /// See the operations of Simulator of the same names.
    void acceptToken(const std::string& token);
    void setServers(std::vector<std::pair<std::string, std::string>> servers);

private:
    /// One sign-in, from the request for a login URL to the exchange of its two codes.
    struct SignIn {
        std::string ephemeralCode;
        std::string provider;
        std::string scheme;
        std::string email = {};
        std::optional<std::string> callbackCode = {}; // once the user has signed in
    };

    struct Route {
        const char* method;
        const char* path;
        Answer (Service::*handler)(const RecordedRequest&);
    };

    static const std::vector<Route>& routes();

    Answer listServers(const RecordedRequest& request);
    Answer beginLogin(const RecordedRequest& request);
    Answer showSignInPage(const RecordedRequest& request);
    Answer completeSignIn(const RecordedRequest& request);
    Answer exchangeCodes(const RecordedRequest& request);
    Answer describeUser(const RecordedRequest& request);
    Answer makeUploadTarget(const RecordedRequest& request);
    Answer receiveUpload(const RecordedRequest& request, const std::string& identifier);

    Answer sendBack(SignIn& signIn, const std::string& email);
    SignIn* signInOfSession(const std::optional<std::string>& session);
    std::optional<std::string> accountOf(const RecordedRequest& request) const;

    const bool autoSignIn_;
    std::mutex mutex_; // guards the members below
    std::optional<std::vector<std::pair<std::string, std::string>>> servers_;
    std::map<std::string, SignIn> signIns_;                     // by session
    std::map<std::string, std::string> accounts_;               // by token
    std::map<std::string, std::optional<std::string>> uploads_; // by identifier, once received
};

} // namespace simulator
