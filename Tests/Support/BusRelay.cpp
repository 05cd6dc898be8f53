#include "BusRelay.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

using SocketCall = int (*)(int socket, const sockaddr* address, socklen_t length);

/// A socket that is bound or connected to the path. Throws std::system_error when it cannot be.
FileDescriptor socketAt(const std::filesystem::path& path, SocketCall call) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    if (call(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::system_error(errno, std::generic_category(), path);
    return socket;
}

/// What has come; empty when the other side is gone.
std::string receive(const FileDescriptor& from) {
    std::array<char, 65536> buffer{};
    const ssize_t count = recv(from.number(), buffer.data(), buffer.size(), 0);
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

void send(std::string_view bytes, const FileDescriptor& to) {
    ssize_t sent = 0;
    for (; sent >= 0 && !bytes.empty(); bytes.remove_prefix(static_cast<std::size_t>(sent))) {
        sent = ::send(to.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0)
            return;
    }
}

} // namespace

BusRelay::BusRelay(const std::filesystem::path& folder, Event event)
    : bus_(folder / "bus"), event_(std::move(event)), end_(eventfd(0, EFD_CLOEXEC)),
      socket_(socketAt(folder / "relay", bind)),
      address_("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder / "relay").string()) {
    listen(socket_.number(), SOMAXCONN);
    thread_ = std::jthread([this] { takeClients(); });
}

BusRelay::~BusRelay() {
    eventfd_write(end_.number(), 1);
    thread_.join();
}

void BusRelay::takeClients() {
    std::array<pollfd, 2> events{{{socket_.number(), POLLIN, 0}, {end_.number(), POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) >= 0 && events[1].revents == 0) {
        const int client = accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC);
        clients_.emplace_back([this, client] {
            try {
                serve(FileDescriptor(client));
            } catch (const std::system_error&) {
                // There is no bus any more: nor is there one for this client.
            }
        });
    }
}

void BusRelay::serve(const FileDescriptor& client) {
    const FileDescriptor bus = socketAt(bus_, connect);
    std::array<pollfd, 3> events{
        {{client.number(), POLLIN, 0}, {bus.number(), POLLIN, 0}, {end_.number(), POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) >= 0 && events[2].revents == 0) {
        for (const bool fromClient : {true, false}) {
            if (events.at(fromClient ? 0 : 1).revents == 0)
                continue;
            const std::string bytes = receive(fromClient ? client : bus);
            if (bytes.empty())
                return;
            if (fromClient)
                passCallsOn(bytes, bus);
            else
                send(bytes, client);
        }
    }
}

void BusRelay::passCallsOn(const std::string& bytes, const FileDescriptor& bus) {
    // A name in a message ends with a NUL. Who sends a message sends its head at once.
    const bool isTheCall = bytes.find(event_.method + '\0') != std::string::npos;
    const bool happens = isTheCall && !happened_.exchange(true);
    if (happens)
        event_.beforeTheCall();
    send(bytes, bus);
    if (happens)
        event_.afterTheCall();
}
