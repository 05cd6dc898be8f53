#include "Platform/WakeUpPipe.h"

#include <fcntl.h>
#include <unistd.h>

namespace platform {

WakeUpPipe::WakeUpPipe() {
    if (pipe(ends_.data()) != 0)
        return;
    for (const int end : ends_) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
}

WakeUpPipe::~WakeUpPipe() {
    if (!isOpen())
        return;
    for (const int end : ends_)
        close(end);
}

void WakeUpPipe::add() const {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(ends_[1], &byte, sizeof byte);
}

void WakeUpPipe::take() const {
    char byte = 0;
    [[maybe_unused]] const ssize_t taken = read(ends_[0], &byte, sizeof byte);
}

} // namespace platform
