#pragma once

#include "OpenSSLHandle.h"

#include <openssl/ssl.h>

#include <chrono>
#include <cstddef>
#include <span>
#include <string_view>

namespace simulator {

/// One TLS connection, seen from the server; used by one thread. The socket is not owned: whoever
/// owns it closes it later. Shutting the socket down from another thread ends every wait here.
class Connection {
public:
    /// Throws std::runtime_error when OpenSSL has no room for another connection.
    Connection(SSL_CTX* context, int socket);

    int socket() const { return socket_; }
    SSL* session() const { return session_.get(); }

    /// False when the peer went away or did not like what it saw.
    bool handshake();

    /// Waits for bytes; returns how many were read, 0 once the connection is at its end.
    std::size_t read(std::span<char> buffer);

    /// Sends it all. False when the connection is at its end.
    bool write(std::string_view bytes);

    /// Tells the peer that nothing more comes, in TLS and in TCP.
    void endOrderly();

    /// Makes the closing of the socket a TCP reset.
    void resetOnClose() const;

    /// Waits until the peer has closed its side, or for the time given. True when the peer has.
    bool waitForPeerToLeave();
    bool waitForPeerToLeave(std::chrono::milliseconds limit);

private:
    bool pollForPeerToLeave(int milliseconds);

    int socket_;
    Handle<SSL, SSL_free> session_;
};

} // namespace simulator
