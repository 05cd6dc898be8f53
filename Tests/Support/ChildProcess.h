#pragma once

#include "FileDescriptor.h"
#include "WaitUntil.h"

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What becomes of an output of a program.
enum class Output {
    captured,  ///< kept, and readable at any time, also while the program runs
    inherited, ///< the test's own
    closed,    ///< the program starts without this descriptor
    full,      ///< /dev/full: every write fails with ENOSPC
    brokenPipe ///< a pipe that nobody reads: every write fails with EPIPE
};

/// How to run a program. The first argument is the program, sought in PATH unless it is a path.
struct Program {
    std::vector<std::string> arguments;

    /// Changes to the test's own environment: set, or taken away where absent.
    std::map<std::string, std::optional<std::string>> environment = {};

    /// All that the program can read from its standard input.
    std::string standardInput = {};

    Output standardOutput = Output::captured;
    Output standardError = Output::captured;
};

/// How a program ended: with an exit status or by a signal; with neither it did not end in time.
struct ProgramResult {
    std::optional<int> exitStatus;
    std::optional<int> signal;
    std::string standardOutput; ///< what was captured
    std::string standardError;  ///< what was captured
};

/// A running program, started with default signal handling. Throws std::system_error when it cannot
/// be started.
class ChildProcess {
public:
    explicit ChildProcess(const Program& program);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Kills the program if it runs and waits for its end.
    ~ChildProcess();

    pid_t processIdentifier() const { return processIdentifier_; }
    bool isRunning();

    /// Does nothing once the program has ended.
    void sendSignal(int number);

    /// SIGKILL, and waits for the end.
    void kill();

    /// SIGSTOP, and waits until the program has come to a halt.
    void stop();

    /// Waits for the end. A program that does not end in time is killed.
    ProgramResult wait(std::chrono::milliseconds limit = patience);

    std::string standardOutput() const;
    std::string standardError() const;

private:
    void reap(int options);

    FileDescriptor output_;
    FileDescriptor error_;
    pid_t processIdentifier_ = -1;
    std::optional<int> waitStatus_;
};

/// Runs a program to its end.
ProgramResult runProgram(const Program& program, std::chrono::milliseconds limit = patience);
