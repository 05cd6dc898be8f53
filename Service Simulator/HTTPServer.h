#pragma once

#include "Answer.h"
#include "Request.h"

#include <openssl/ssl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace simulator {

/// HTTP/1.1 over TLS. cpp-httplib accepts the connections, reads the requests and writes the
/// answers; the bytes pass through here, where faults happen and requests are taken down as they
/// came. Serves up to 64 connections at once.
class HTTPServer {
public:
    /// Called on many threads at once.
    using Handler = std::function<Answer(const RecordedRequest&)>;

    /// Listens once constructed; port 0 is any that is free. The context is not owned. Throws
    /// std::runtime_error when the address or the port cannot be had.
    HTTPServer(SSL_CTX* context, const std::string& address, std::uint16_t port, Handler handler);

    /// Breaks off every connection and waits for their threads.
    ~HTTPServer();

    HTTPServer(const HTTPServer&) = delete;
    HTTPServer& operator=(const HTTPServer&) = delete;

    std::uint16_t port() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace simulator
