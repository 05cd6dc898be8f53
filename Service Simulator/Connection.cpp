#include "Connection.h"

#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace simulator {

Connection::Connection(SSL_CTX* context, int socket) : socket_(socket), session_(SSL_new(context)) {
    require(session_ != nullptr && SSL_set_fd(session_.get(), socket) == 1,
            "cannot take a connection");
}

bool Connection::handshake() {
    ERR_clear_error();
    return SSL_accept(session_.get()) == 1;
}

std::size_t Connection::read(std::span<char> buffer) {
    ERR_clear_error();
    std::size_t count = 0;
    const bool succeeded = SSL_read_ex(session_.get(), buffer.data(), buffer.size(), &count) == 1;
    return succeeded ? count : 0;
}

bool Connection::write(std::string_view bytes) {
    if (bytes.empty()) {
        return true;
    }
    ERR_clear_error();
    std::size_t count = 0;
    return SSL_write_ex(session_.get(), bytes.data(), bytes.size(), &count) == 1;
}

void Connection::endOrderly() {
    ERR_clear_error();
    SSL_shutdown(session_.get());
    shutdown(socket_, SHUT_WR);
}

void Connection::resetOnClose() const {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

bool Connection::waitForPeerToLeave() {
    return pollForPeerToLeave(-1);
}

bool Connection::waitForPeerToLeave(std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds longest(INT_MAX);
    return pollForPeerToLeave(static_cast<int>(std::min(limit, longest).count()));
}

bool Connection::pollForPeerToLeave(int milliseconds) {
    pollfd peer{.fd = socket_, .events = POLLRDHUP, .revents = 0};
    int ready = -1;
    do {
        ready = poll(&peer, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

} // namespace simulator
