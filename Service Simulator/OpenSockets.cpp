#include "OpenSockets.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace simulator {

void OpenSockets::add(int socket) {
    // A program that a test starts would otherwise keep the connection open.
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    const std::lock_guard lock(mutex_);
    sockets_.insert(socket);
    if (shutDown_) {
        ::shutdown(socket, SHUT_RDWR);
    }
}

void OpenSockets::close(int socket) {
    // Under the lock, so that nobody shuts down another file that got the same number.
    const std::lock_guard lock(mutex_);
    sockets_.erase(socket);
    ::close(socket);
}

void OpenSockets::shutDown() {
    const std::lock_guard lock(mutex_);
    shutDown_ = true;
    for (const int socket : sockets_) {
        ::shutdown(socket, SHUT_RDWR);
    }
}

} // namespace simulator
