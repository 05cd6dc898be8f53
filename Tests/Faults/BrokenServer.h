#pragma once

#include "Support/FileDescriptor.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

/// A server on 127.0.0.1 that answers the first bytes of each client with its own, whatever they
/// mean, and ends the connection. Throws std::runtime_error when it cannot listen.
class BrokenServer {
public:
    explicit BrokenServer(std::string bytes)
        : bytes_(std::move(bytes)), socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t length = sizeof address_;
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        constexpr int waitingClients = 16;
        if (bind(socket_.number(), address, length) != 0 ||
            listen(socket_.number(), waitingClients) != 0 ||
            getsockname(socket_.number(), address, &length) != 0)
            throw std::runtime_error("No broken server");
        thread_ = std::jthread([this] { serve(); });
    }
    BrokenServer(const BrokenServer&) = delete;
    BrokenServer& operator=(const BrokenServer&) = delete;
    ~BrokenServer() { shutdown(socket_.number(), SHUT_RDWR); }

    std::string address() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

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
    FileDescriptor socket_;
    sockaddr_in address_{};
    std::jthread thread_;
};
