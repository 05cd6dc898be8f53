#pragma once

namespace platform {

/// What this process will be.
enum class ProcessUse {
    window, ///< the windowed application
    command ///< one request for a calling program
};

/// To be called in main before anything that may start a thread. Gives up, for good, what neither
/// this process nor what it loads needs: it stays a network client that reads what every program of
/// a desktop reads (libraries, certificates, settings and, with a window, fonts and themes), writes
/// nothing but the toolkit's caches, starts no program and accepts no connection. What has to be
/// started all the same is started by a process from before.
///
/// Where the system cannot do that, the process goes on as it is and says so in one log line. Where
/// the system itself confines an application by what it was signed with, nothing is done.
void confineProcess(ProcessUse use);

} // namespace platform
