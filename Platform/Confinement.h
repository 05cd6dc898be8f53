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
/// no file but one of the desktop's settings service, runs no program and accepts no connection.
/// What has to be started all the same is started by a process from before. What other services do
/// for it, over a connection to the session bus or the display, is for them to confine.
///
/// Where the system cannot do one or the other, the process goes on without. The window says so in
/// one log line; the command does not, since its caller would read the same line for every print
/// job. Where the system itself confines an application by what it was signed with, nothing is
/// done.
void confineProcess(ProcessUse use);

} // namespace platform
