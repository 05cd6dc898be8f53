#pragma once

#include "Platform/Linux/Launcher.h"

#include <functional>

namespace platform {

/// How long a command may take that is waited for. Only tests change it.
// NOLINTNEXTLINE(cert-err58-cpp): a constant initialiser throws nothing
inline constinit std::chrono::milliseconds commandTimeLimit{10'000};

/// Has the command run, at most for the time limit, and returns at once. The handler is called
/// once, from the event loop of the main thread; never, when the application ends before the
/// command, which it then ends, too. On the main thread only.
void runCommand(std::vector<std::string> command,
                std::function<void(const LaunchResult&)> whenEnded);

} // namespace platform
