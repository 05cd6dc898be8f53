#pragma once

#include "Connection.h"
#include "Support/ListeningSocket.h"
#include "Support/WorldAuthority.h"
#include "TLSContext.h"

#include <array>
#include <mutex>
#include <string>
#include <thread>

/// An HTTPS server on 127.0.0.1 that answers the first bytes of each client with the bytes it was
/// given, be they an answer or not, and ends the connection in order. Throws std::runtime_error
/// when it cannot listen and outside of the private world.
class BrokenHTTPServer {
public:
    BrokenHTTPServer() = default;
    BrokenHTTPServer(const BrokenHTTPServer&) = delete;
    BrokenHTTPServer& operator=(const BrokenHTTPServer&) = delete;
    ~BrokenHTTPServer() { shutdown(socket_.number(), SHUT_RDWR); }

    std::string address() const { return socket_.address(); }

    /// The answer to whoever asks from now on.
    void answerWith(const std::string& bytes) {
        const std::lock_guard lock(mutex_);
        bytes_ = bytes;
    }

private:
    void serve() {
        for (int number = accept(socket_.number(), nullptr, nullptr); number >= 0;
             number = accept(socket_.number(), nullptr, nullptr)) {
            const FileDescriptor client(number);
            simulator::Connection connection(context_.get(), client.number());
            std::array<char, 16384> request{};
            if (connection.handshake() && connection.read(request) > 0) {
                connection.write(bytes());
                connection.endOrderly();
                connection.waitForPeerToLeave();
            }
        }
    }

    std::string bytes() {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }

    std::mutex mutex_;
    std::string bytes_;
    simulator::TLSContext context_{worldAuthority(), {}};
    ListeningSocket socket_;
    std::jthread thread_{[this] { serve(); }};
};
