#pragma once

#include "Support/FileDescriptor.h"
#include "Support/ListeningSocket.h"

#include <sys/socket.h>

#include <array>
#include <string>
#include <thread>
#include <utility>

/// A server on 127.0.0.1 that answers the first bytes of each client with its own, whatever they
/// mean, and ends the connection. Throws std::runtime_error when it cannot listen.
class BrokenServer {
public:
    explicit BrokenServer(std::string bytes) : bytes_(std::move(bytes)) {}
    BrokenServer(const BrokenServer&) = delete;
    BrokenServer& operator=(const BrokenServer&) = delete;
    ~BrokenServer() { shutdown(socket_.number(), SHUT_RDWR); }

    std::string address() const { return socket_.address(); }

private:
    void serve() const {
        for (int number = accept(socket_.number(), nullptr, nullptr); number >= 0;
             number = accept(socket_.number(), nullptr, nullptr)) {
            const FileDescriptor client(number);
            std::array<char, 4096> greeting{};
            if (recv(client.number(), greeting.data(), greeting.size(), 0) > 0)
                send(client.number(), bytes_.data(), bytes_.size(), MSG_NOSIGNAL);
        }
    }

    std::string bytes_;
    ListeningSocket socket_;
    std::jthread thread_{[this] { serve(); }};
};
