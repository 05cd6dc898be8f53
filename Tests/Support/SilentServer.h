#pragma once

#include "FileDescriptor.h"
#include "WaitUntil.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <stdexcept>
#include <string>

/// A server on 127.0.0.1 that takes connections and never answers. Throws std::runtime_error when
/// it cannot listen.
class SilentServer {
public:
    SilentServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t length = sizeof address_;
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        constexpr int waitingClients = 16;
        if (bind(socket_.number(), address, length) != 0 ||
            listen(socket_.number(), waitingClients) != 0 ||
            getsockname(socket_.number(), address, &length) != 0)
            throw std::runtime_error("No silent server");
    }

    std::string address() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

    /// Waits until somebody has connected.
    void waitForClient() const {
        pollfd event{socket_.number(), POLLIN, 0};
        if (poll(&event, 1, static_cast<int>(std::chrono::milliseconds(patience).count())) != 1)
            throw std::runtime_error("Nobody has connected");
    }

private:
    FileDescriptor socket_;
    sockaddr_in address_{};
};
