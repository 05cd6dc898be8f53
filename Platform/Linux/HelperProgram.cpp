#include "Platform/Linux/HelperProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    int number() const { return number_; }
    void close() {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }

private:
    int number_;
};

class SpawnSettings {
public:
    explicit SpawnSettings(int output) {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        // Connections of other threads are none of the program's business.
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        posix_spawnattr_init(&attributes);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

std::optional<pid_t> spawn(const std::vector<std::string>& command, int output) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const SpawnSettings settings(output);
    pid_t child = 0;
    if (posix_spawn(&child, arguments.front(), &settings.actions, &settings.attributes,
                    arguments.data(), environ) != 0)
        return std::nullopt;
    return child;
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

std::optional<std::string> readToTheEnd(int descriptor, Clock::time_point deadline) {
    std::string text;
    std::array<char, 4096> buffer{};
    while (waitForInput(descriptor, deadline)) {
        const ssize_t length = read(descriptor, buffer.data(), buffer.size());
        if (length == 0)
            return text;
        if (length < 0)
            return std::nullopt;
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> outputOfProgram(const std::vector<std::string>& command,
                                           std::chrono::milliseconds limit,
                                           const std::stop_token& stop) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    const std::optional<pid_t> child = spawn(command, input.number());
    input.close();
    if (!child)
        return std::nullopt;

    std::optional<std::string> text;
    {
        // The end of the program is the end of its output, for which the reading waits.
        const std::stop_callback killer(stop, [child] { kill(*child, SIGKILL); });
        text = readToTheEnd(output.number(), Clock::now() + limit);
    }
    if (!text || stop.stop_requested())
        text.reset();
    kill(*child, SIGKILL);
    while (waitpid(*child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return text;
}

} // namespace platform
