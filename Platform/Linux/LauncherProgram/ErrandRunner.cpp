#include "ErrandRunner.h"

#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/LauncherMessages.h"
#include "Platform/Linux/SpawnSettings.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

namespace launcher = platform::launcher;
using platform::Descriptor;
using platform::SpawnSettings;

namespace {

/// The program's process; negative when it could not be started. Its output goes there, unless that
/// is negative.
pid_t spawn(const std::vector<std::string>& command, int output) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    // With a session of its own, all that it starts can be killed with it.
    SpawnSettings settings;
    if (output >= 0)
        settings.give(output, STDOUT_FILENO);
    settings.keepFrom(STDERR_FILENO + 1);
    pid_t process = -1;
    return posix_spawnp(&process, arguments.front(), &settings.actions, &settings.attributes,
                        arguments.data(), environ) == 0
               ? process
               : -1;
}

bool reply(int replies, std::string_view message) {
    return send(replies, message.data(), message.size(), MSG_NOSIGNAL) >= 0;
}

/// Passes on what comes out of the pipe until its end; false when nobody wants it any more.
bool passOn(int pipe, int replies) {
    std::array<pollfd, 2> events{{{pipe, POLLIN, 0}, {replies, POLLIN, 0}}};
    std::array<char, launcher::longestReply> buffer{launcher::programWrote};
    for (;;) {
        if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR)
            return false;
        // The other end says nothing but that it is closed.
        if (events[1].revents != 0)
            return false;
        if (events[0].revents == 0)
            continue;
        const ssize_t length = read(pipe, buffer.data() + 1, buffer.size() - 1);
        if (length <= 0)
            return length == 0;
        if (!reply(replies, {buffer.data(), static_cast<std::size_t>(length) + 1}))
            return false;
    }
}

/// Waits for the end of the process, which it may reach long after the end of its output.
int statusOf(pid_t process, int replies) {
    const Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    std::array<pollfd, 2> events{{{end.number(), POLLIN, 0}, {replies, POLLIN, 0}}};
    while (end.isOpen() && poll(events.data(), events.size(), -1) < 0 && errno == EINTR) {
    }
    if (events[1].revents != 0)
        kill(-process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

void runToItsEnd(const Errand& errand, int replies) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return;
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    const pid_t process = spawn(errand.command, input.number());
    input.close();
    if (process < 0)
        return;
    if (!passOn(output.number(), replies))
        kill(-process, SIGKILL);
    const int status = statusOf(process, replies);
    if (!WIFEXITED(status))
        return;
    const std::array message{launcher::programEnded, static_cast<char>(WEXITSTATUS(status))};
    reply(replies, {message.data(), message.size()});
}

} // namespace

void run(const Errand& errand, int replies) {
    if (!errand.isDetached)
        runToItsEnd(errand, replies);
    else if (spawn(errand.command, -1) >= 0)
        reply(replies, {&launcher::programStarted, 1});
}
