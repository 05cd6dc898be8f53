#include "LogCapture.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

constexpr std::string_view logSocket = "/dev/log";

void check(bool succeeded, const char* what) {
    if (!succeeded)
        throw std::system_error(errno, std::generic_category(), what);
}

/// The message of "<13>Nov 21 03:04:05 ardentra-registration[123]: message", or absent when another
/// program wrote the line.
std::optional<std::string> messageOf(const std::string& line) {
    constexpr std::size_t lengthOfTime = std::char_traits<char>::length("Nov 21 03:04:05 ");
    const std::size_t program = line.find('>') + 1 + lengthOfTime;
    const std::size_t separator = line.find(": ", program);
    if (separator == std::string::npos || line.find("ardentra-registration[", program) != program)
        return std::nullopt;
    return line.substr(separator + 2);
}

/// Which it says wherever it runs, as on a kernel without Landlock.
bool saysWhatTheKernelCannotDo(const std::string& message) {
    return message.starts_with("This kernel cannot confine the application");
}

} // namespace

std::vector<std::string> LogCapture::linesOf(const std::string& standardError) {
    std::vector<std::string> lines;
    std::istringstream text(standardError);
    for (std::string line; std::getline(text, line);) {
        const std::size_t separator = line.find(": ");
        if (separator == std::string::npos ||
            !saysWhatTheKernelCannotDo(line.substr(separator + 2)))
            lines.push_back(line);
    }
    return lines;
}

LogCapture::LogCapture()
    : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
      end_(eventfd(0, EFD_CLOEXEC)) {
    check(socket_.number() >= 0 && end_.number() >= 0, "socket");
    if (std::getenv("VT_WORLD") == nullptr)
        throw std::system_error(EPERM, std::generic_category(), "not in the private world");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    logSocket.copy(address.sun_path, sizeof address.sun_path);
    check(bind(socket_.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          "bind");
    receiver_ = std::thread([this] { receiveUntilTheEnd(); });
}

LogCapture::~LogCapture() {
    unlink(logSocket.data());
    eventfd_write(end_.number(), 1);
    receiver_.join();
}

std::vector<std::string> LogCapture::lines() {
    receive();
    const std::lock_guard lock(mutex_);
    return lines_;
}

void LogCapture::receive() {
    const std::lock_guard lock(mutex_);
    std::array<char, 65536> buffer{};
    ssize_t length = 0;
    while ((length = recv(socket_.number(), buffer.data(), buffer.size(), 0)) >= 0) {
        auto message = messageOf({buffer.data(), static_cast<std::size_t>(length)});
        if (message && !saysWhatTheKernelCannotDo(*message))
            lines_.push_back(std::move(*message));
    }
}

void LogCapture::receiveUntilTheEnd() {
    std::array<pollfd, 2> events{{{socket_.number(), POLLIN, 0}, {end_.number(), POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) >= 0 && events[1].revents == 0)
        receive();
}
