#pragma once

#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// A real proxy on a port of this world, running once constructed. Throws std::runtime_error when
/// it does not come up.
class Proxy {
public:
    /// A port on 127.0.0.1 on which nothing listens.
    static int freePort();

    int port() const { return port_; }

    /// "127.0.0.1:PORT".
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }

    /// The servers that clients have asked for so far, each "HOST:PORT" as the client said it; also
    /// those that it was refused.
    std::vector<std::string> requests() const;

protected:
    /// What stands before the server in a line of the program's output that tells a request.
    Proxy(int port, std::string beforeServer);

    void start(const std::vector<std::string>& command);
    const std::filesystem::path& folder() const { return folder_.path(); }

private:
    int port_;
    std::string beforeServer_;
    TemporaryFolder folder_;
    std::optional<ChildProcess> program_;
};

/// An HTTP proxy that tunnels (CONNECT) and may want a user and a password, "user password".
class HTTPProxy : public Proxy {
public:
    explicit HTTPProxy(const std::optional<std::string>& credentials = std::nullopt);
};

/// A SOCKS 5 proxy, which resolves the names that clients ask for.
class SOCKSProxy : public Proxy {
public:
    SOCKSProxy();
};

/// TLS in front of a proxy, with the certificate and the key in a file.
class TLSFront : public Proxy {
public:
    TLSFront(const Proxy& behind, const std::filesystem::path& certificateAndKey);
};
