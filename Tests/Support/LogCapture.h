#pragma once

#include "FileDescriptor.h"

#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What the program, under its own name, writes to the system log of the private world from now on,
/// in this process or in any other. Throws std::system_error outside of the private world. One at a
/// time.
class LogCapture {
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// The messages so far, in order, without priority, time and program name; what a process has
    /// written before this call is among them. What it says of this machine's kernel is not.
    std::vector<std::string> lines();

    /// The lines that a program has written to its standard error, without the same.
    static std::vector<std::string> linesOf(const std::string& standardError);

private:
    void receive();
    void receiveUntilTheEnd();

    FileDescriptor socket_;
    FileDescriptor end_;
    std::mutex mutex_;
    std::vector<std::string> lines_;

    /// Empties the socket all the time: whoever logs waits while it is full, and it holds little.
    std::thread receiver_;
};
