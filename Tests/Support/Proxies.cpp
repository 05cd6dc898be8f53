#include "Proxies.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

FileDescriptor newSocket() {
    return FileDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

bool isListening(int port) {
    const FileDescriptor client = newSocket();
    const sockaddr_in address = loopback(port);
    return connect(client.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
}

} // namespace

int Proxy::freePort() {
    const FileDescriptor server = newSocket();
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (bind(server.number(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        getsockname(server.number(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("No free port");
    return ntohs(address.sin_port);
}

Proxy::Proxy(int port, std::string beforeServer)
    : port_(port), beforeServer_(std::move(beforeServer)) {}

void Proxy::start(const std::vector<std::string>& command) {
    program_.emplace(Program{command});
    if (!waitUntil([this] { return isListening(port_) || !program_->isRunning(); }) ||
        !program_->isRunning())
        throw std::runtime_error("No proxy: " + program_->standardError());
}

std::vector<std::string> Proxy::requests() const {
    std::vector<std::string> servers;
    std::istringstream lines(program_->standardOutput() + program_->standardError());
    for (std::string line; std::getline(lines, line);) {
        if (const std::size_t at = line.find(beforeServer_); at != std::string::npos) {
            const std::size_t server = at + beforeServer_.size();
            servers.push_back(line.substr(server, line.find(' ', server) - server));
        }
    }
    return servers;
}

HTTPProxy::HTTPProxy(const std::optional<std::string>& credentials)
    : Proxy(freePort(), ": CONNECT ") {
    const auto configuration = folder() / "configuration";
    std::ofstream file(configuration);
    file << "Port " << port() << "\nListen 127.0.0.1\nTimeout 600\nMaxClients 100\n";
    if (credentials)
        file << "BasicAuth " << *credentials << '\n';
    file.close();
    start({"tinyproxy", "-d", "-c", configuration});
}

SOCKSProxy::SOCKSProxy() : Proxy(freePort(), ": connected to ") {
    start({"microsocks", "-i", "127.0.0.1", "-p", std::to_string(port())});
}

TLSFront::TLSFront(const Proxy& behind, const std::filesystem::path& certificateAndKey)
    : Proxy(freePort(), "") {
    start({"socat",
           "OPENSSL-LISTEN:" + std::to_string(port()) +
               ",bind=127.0.0.1,reuseaddr,fork,verify=0,cert=" + certificateAndKey.string(),
           "TCP4:" + behind.address()});
}
