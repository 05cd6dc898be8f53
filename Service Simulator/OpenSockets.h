#pragma once

#include <mutex>
#include <set>

namespace simulator {

/// The sockets of the connections that are being served, so that all can be broken off at once. Any
/// thread may use it.
class OpenSockets {
public:
    /// From now on the socket is owned here. Once all were shut down, this one is too.
    void add(int socket);

    void close(int socket);

    /// Ends every wait for these sockets, and for those to come.
    void shutDown();

private:
    std::mutex mutex_; // guards the members below
    std::set<int> sockets_;
    bool shutDown_ = false;
};

} // namespace simulator
