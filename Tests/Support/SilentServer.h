#pragma once

#include "ListeningSocket.h"
#include "WaitUntil.h"

#include <poll.h>

#include <chrono>
#include <stdexcept>
#include <string>

/// A server on 127.0.0.1 that takes connections and never answers. Throws std::runtime_error when
/// it cannot listen.
class SilentServer {
public:
    std::string address() const { return socket_.address(); }

    /// Waits until somebody has connected.
    void waitForClient() const {
        pollfd event{socket_.number(), POLLIN, 0};
        if (poll(&event, 1, static_cast<int>(std::chrono::milliseconds(patience).count())) != 1)
            throw std::runtime_error("Nobody has connected");
    }

private:
    ListeningSocket socket_;
};
