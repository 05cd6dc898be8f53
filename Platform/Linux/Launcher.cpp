#include "Platform/Linux/Launcher.h"

#include "Platform/Linux/Descriptor.h"
#include "Platform/Linux/LauncherMessages.h"
#include "Platform/Linux/SpawnSettings.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <utility>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<int>& descriptorInUse() {
    static std::atomic<int> descriptor = -1;
    return descriptor;
}

struct SocketPair {
    Descriptor here;
    Descriptor there;
};

SocketPair makeSocketPair() {
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return {};
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

std::string launcherPath() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return (executable.parent_path() / VT_LAUNCHER_PROGRAM).string();
}

/// A launcher that runs as long as this lives.
class LauncherProcess {
public:
    LauncherProcess();
    LauncherProcess(const LauncherProcess&) = delete;
    LauncherProcess& operator=(const LauncherProcess&) = delete;
    ~LauncherProcess();

    int descriptor() const { return socket_.number(); }

    /// Lets it run on, until this process ends or closes the descriptor.
    int release() {
        process_ = -1;
        return socket_.release();
    }

private:
    Descriptor socket_;
    pid_t process_ = -1;
};

LauncherProcess::LauncherProcess() {
    SocketPair sockets = makeSocketPair();
    if (!sockets.here.isOpen())
        return;
    SpawnSettings settings;
    // Behind what the launcher has, so that the two cannot be the same.
    constexpr int aside = launcher::requestDescriptor + 1;
    settings.give(sockets.there.number(), aside);
    settings.give(aside, launcher::requestDescriptor);
    settings.keepFrom(aside);
    std::string path = launcherPath();
    std::array<char*, 2> arguments{path.data(), nullptr};
    if (posix_spawn(&process_, path.c_str(), &settings.actions, &settings.attributes,
                    arguments.data(), environ) == 0)
        socket_ = std::move(sockets.here);
    else
        process_ = -1;
}

LauncherProcess::~LauncherProcess() {
    socket_.close();
    while (process_ > 0 && waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool send(int launcher, const std::vector<std::string>& command, int replies) {
    std::string request;
    for (const std::string& word : command)
        request.append(word).push_back('\0');
    iovec text{request.data(), request.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof replies)> control{};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof replies);
    std::memcpy(CMSG_DATA(rights), &replies, sizeof replies);
    return sendmsg(launcher, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

/// The socket on which the launcher replies to the request; not open when it does not get there.
Descriptor request(const std::vector<std::string>& command) {
    const int inUse = launcherInUse();
    SocketPair sockets = inUse == noLauncher ? SocketPair() : makeSocketPair();
    if (!sockets.here.isOpen())
        return {};
    bool sent = false;
    if (inUse >= 0) {
        sent = send(inUse, command, sockets.there.number());
    } else {
        const LauncherProcess launcher;
        sent = send(launcher.descriptor(), command, sockets.there.number());
    }
    return sent ? std::move(sockets.here) : Descriptor();
}

bool waitForInput(int descriptor, Clock::time_point deadline) {
    pollfd event{descriptor, POLLIN, 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left <= std::chrono::milliseconds::zero())
            return false;
        const int count = poll(&event, 1, static_cast<int>(left.count()));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
}

/// The next reply; absent when there is none in time, or will be none any more.
std::optional<std::string> nextReply(const Descriptor& replies, Clock::time_point deadline) {
    if (!waitForInput(replies.number(), deadline))
        return std::nullopt;
    std::array<char, launcher::longestReply> buffer{};
    const ssize_t length = recv(replies.number(), buffer.data(), buffer.size(), 0);
    if (length <= 0)
        return std::nullopt;
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

LaunchResult resultIn(const Descriptor& replies, Clock::time_point deadline) {
    LaunchResult result;
    while (const auto reply = nextReply(replies, deadline)) {
        if (reply->front() == launcher::programWrote) {
            result.output.append(*reply, 1);
        } else if (reply->front() == launcher::programEnded && reply->size() > 1) {
            result.exitStatus = static_cast<unsigned char>((*reply)[1]);
            break;
        }
    }
    return result;
}

} // namespace

int startLauncher() {
    return LauncherProcess().release();
}

void useLauncher(int descriptor) {
    descriptorInUse() = descriptor;
}

int launcherInUse() {
    return descriptorInUse();
}

LaunchResult runProgram(const std::vector<std::string>& command, std::chrono::milliseconds limit,
                        const std::stop_token& stop) {
    const auto deadline = Clock::now() + limit;
    const Descriptor replies = request(command);
    if (!replies.isOpen())
        return {};
    // The launcher takes a socket that is shut down for a closed one, and so does the reading.
    const std::stop_callback ending(stop, [&] { shutdown(replies.number(), SHUT_RDWR); });
    return resultIn(replies, deadline);
}

bool startProgram(const std::vector<std::string>& command) {
    constexpr std::chrono::seconds limit(10);
    const Descriptor replies = request(command);
    const auto reply =
        replies.isOpen() ? nextReply(replies, Clock::now() + limit) : std::optional<std::string>();
    return reply && reply->front() == launcher::programStarted;
}

} // namespace platform
