#pragma once

#include "FileDescriptor.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <stdexcept>
#include <string>

/// A socket on 127.0.0.1, at a port that is free, where clients may connect. Throws
/// std::runtime_error when it cannot listen.
class ListeningSocket {
public:
    ListeningSocket() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t length = sizeof address_;
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        constexpr int waitingClients = 16;
        if (bind(socket_.number(), address, length) != 0 ||
            listen(socket_.number(), waitingClients) != 0 ||
            getsockname(socket_.number(), address, &length) != 0)
            throw std::runtime_error("No socket to listen on");
    }

    int number() const { return socket_.number(); }

    /// What the application takes as a server.
    std::string address() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

private:
    FileDescriptor socket_;
    sockaddr_in address_{};
};
