// program-launcher: starts the few programs that a process needs which has given up the right to
// start any. It is asked over the socket that it gets as its descriptor 3, and ends when that is
// closed. See LauncherMessages.h for the messages and Errand.h for what may be asked.

#include "ErrandRunner.h"
#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/LauncherMessages.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace launcher = platform::launcher;
using platform::Descriptor;

namespace {

struct Request {
    std::vector<std::string> command;
    Descriptor replies;
};

Descriptor descriptorIn(msghdr& message) {
    const cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    int number = -1;
    if (rights != nullptr && rights->cmsg_level == SOL_SOCKET && rights->cmsg_type == SCM_RIGHTS &&
        rights->cmsg_len == CMSG_LEN(sizeof number))
        std::memcpy(&number, CMSG_DATA(rights), sizeof number);
    return Descriptor(number);
}

std::vector<std::string> wordsIn(std::string_view text) {
    std::vector<std::string> words;
    for (std::size_t end = 0; (end = text.find('\0')) != std::string_view::npos;
         text.remove_prefix(end + 1))
        words.emplace_back(text.substr(0, end));
    return words;
}

/// The next request, one without a command when it cannot be understood; absent when there will be
/// none any more.
std::optional<Request> nextRequest() {
    static std::array<char, launcher::longestRequest> buffer;
    iovec text{buffer.data(), buffer.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = CMSG_LEN(sizeof(int)); // no room for a second descriptor
    ssize_t length = 0;
    do
        length = recvmsg(launcher::requestDescriptor, &message, MSG_CMSG_CLOEXEC);
    while (length < 0 && errno == EINTR);
    const bool isEnd = length == 0 && message.msg_controllen == 0;
    if (length < 0 || isEnd)
        return std::nullopt;
    Request request{{}, descriptorIn(message)};
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0)
        request.command = wordsIn({buffer.data(), static_cast<std::size_t>(length)});
    return request;
}

/// In a process of its own, so that no errand waits for another.
void serve(const Request& request) {
    const auto errand = errandFor(request.command);
    if (!errand || !request.replies.isOpen() || fork() != 0)
        return;
    close(launcher::requestDescriptor);
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    run(*errand, request.replies.number());
    _exit(EXIT_SUCCESS);
}

} // namespace

int main() {
    fcntl(launcher::requestDescriptor, F_SETFD, FD_CLOEXEC);
    // The user's wish to start that process, which is no wish to start any other.
    unsetenv("DESKTOP_STARTUP_ID");
    unsetenv("XDG_ACTIVATION_TOKEN");
    // Nobody asks how the processes ended that do the errands.
    static_cast<void>(std::signal(SIGCHLD, SIG_IGN));
    while (const auto request = nextRequest())
        serve(*request);
    return EXIT_SUCCESS;
}
