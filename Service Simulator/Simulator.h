#pragma once

#include "Answer.h"
#include "Authority.h"
#include "Request.h"
#include "Script.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

/// A registration service over HTTPS (HTTP/1.1, TLS 1.2 and 1.3, no session resumption): every
/// endpoint that the application uses, a sign-in page, and faults on demand. Serves up to
/// 64 connections at once, each on a thread of its own. Every operation may be called on any
/// thread.
class Simulator {
public:
    struct Options {
        std::string address = "127.0.0.1"; ///< to listen on; a name or an IP address
        std::uint16_t port = 0;            ///< 0: any that is free
        /// The names the certificate is for, besides 127.0.0.1 and ::1. At least one.
        std::vector<std::string> hostNames = {"localhost"};
        /// Whether the sign-in page sends the browser on at once, without being shown.
        bool autoSignIn = false;
        /// Called for each request that is recorded, with the answer it is about to get, on the
        /// connection's thread. May be empty.
        std::function<void(const RecordedRequest&, const Answer&)> observer = {};
    };

    /// Listens once constructed. Throws std::runtime_error when that fails.
    explicit Simulator(const Authority& authority);
    Simulator(const Authority& authority, Options options);

    /// Breaks off every connection and ends at once.
    ~Simulator();

    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    std::uint16_t port() const;

    /// The first host name, a colon and the port: the text that the application takes as a server.
    std::string server() const;

    /// The requests so far, in the order in which they were complete. Those to /simulator/ are not
    /// recorded.
    std::vector<RecordedRequest> requests() const;
    void forgetRequests();

    /// Waits until there are at least this many recorded requests. False when the limit passes
    /// first.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds limit) const;

    /// Gives this answer to every further request to the path, whatever its method and query.
    void answer(const std::string& path, Answer answer);

    /// Gives this answer to the next request to the path only. Several queue up; they go before
    /// what answer() set.
    void answerOnce(const std::string& path, Answer answer);

    /// Forgets all that answer() and answerOnce() set.
    void answerNormally();

    /// Shows this certificate from the next connection on.
    void presentCertificate(Certificate certificate);

    /// Forgets scripted answers and certificate and takes those of the script.
    void follow(const Script& script);

    /// Takes this token as registered, besides those that were issued.
    void acceptToken(const std::string& token);

    /// The listing of registration servers from now on: pairs of code and address. Without this it
    /// is one server, "Ardentra Demo", which is the simulator under the name the client used.
    void setServers(std::vector<std::pair<std::string, std::string>> servers);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace simulator
