#pragma once

#include "FileDescriptor.h"
#include "SetVariable.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <list>
#include <string>
#include <thread>

/// A way to the session bus that somebody listens at: what connects to the bus as long as this
/// lives does it through here, and something happens as the first call of one method passes by.
/// Others that connect meanwhile are not held up. Throws std::system_error when there is no such
/// way.
class BusRelay {
public:
    /// What happens, on another thread.
    struct Event {
        std::string method;                         ///< the member's name
        std::function<void()> beforeTheCall;        ///< the call is held back until it returns
        std::function<void()> afterTheCall = [] {}; ///< once the bus has the call
    };

    /// The folder is that of the session.
    BusRelay(const std::filesystem::path& folder, Event event);
    BusRelay(const BusRelay&) = delete;
    BusRelay& operator=(const BusRelay&) = delete;
    ~BusRelay();

    /// Whether the call has come.
    bool hasHappened() const { return happened_; }

private:
    void takeClients();
    void serve(const FileDescriptor& client);
    void passCallsOn(const std::string& bytes, const FileDescriptor& bus);

    std::filesystem::path bus_;
    Event event_;
    std::atomic<bool> happened_ = false;
    FileDescriptor end_;
    FileDescriptor socket_;
    SetVariable address_;
    std::list<std::jthread> clients_;
    std::jthread thread_;
};
