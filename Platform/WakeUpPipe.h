#pragma once

#include <array>

namespace platform {

/// A pipe that wakes up whoever waits at its read end: a byte is in it, or none. Both ends close
/// with it, are not inherited by programs that this one starts, and never block.
class WakeUpPipe {
public:
    /// When no pipe can be had, errno says why, isOpen() is false and add() does nothing.
    WakeUpPipe();
    WakeUpPipe(const WakeUpPipe&) = delete;
    WakeUpPipe& operator=(const WakeUpPipe&) = delete;
    ~WakeUpPipe();

    bool isOpen() const { return ends_[0] >= 0; }

    /// The descriptor to wait at until it can be read.
    int readEnd() const { return ends_[0]; }

    /// The descriptor to which a signal handler, which can call nothing else, writes a byte.
    int writeEnd() const { return ends_[1]; }

    /// Puts a byte in. On any thread.
    void add() const;

    /// Takes a byte out, if there is one.
    void take() const;

private:
    std::array<int, 2> ends_{-1, -1};
};

} // namespace platform
