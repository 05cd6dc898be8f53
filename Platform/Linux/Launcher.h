#pragma once

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace platform {

/// How a program ended that was waited for.
struct LaunchResult {
    /// Absent when it could not be started, was ended before its time, or ended by a signal.
    std::optional<int> exitStatus;

    /// All that it wrote to its standard output until then.
    std::string output;
};

/// Starts the launcher: a small process that starts the few programs this application needs, on
/// behalf of a process that may start none itself, and does nothing else. Which programs, with
/// which arguments, is in LauncherProgram/Errand.h; it ends with this process. To be called once,
/// before the process confines itself. Yields a descriptor for useLauncher, or -1 when the launcher
/// could not be started.
int startLauncher();

/// In the place of a descriptor: there is no launcher and will be none, every request fails.
inline constexpr int noLauncher = -2;

/// From now on the requests of this process go to the launcher behind this descriptor. Until then
/// each request has a launcher of its own, which a process that has confined itself cannot start.
void useLauncher(int descriptor);

/// The descriptor that was given to useLauncher; -1 when there is none.
int launcherInUse();

/// Has a program run, given by its name and its arguments, until it ends or the limit is reached or
/// a stop is requested; it is killed then, with the programs that it has started. Nothing of this
/// process is open in it, its standard input and standard error are null. Blocks; for any thread.
LaunchResult runProgram(const std::vector<std::string>& command, std::chrono::milliseconds limit,
                        const std::stop_token& stop);

/// Has a program started in a session of its own, with null for its standard streams, which goes on
/// after this process; whether it could be. For any thread; blocks no longer than the start takes.
bool startProgram(const std::vector<std::string>& command);

} // namespace platform
