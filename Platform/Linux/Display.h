#pragma once

namespace platform {

/// Whether the environment or the arguments name a display to show windows on. If not, one line in
/// the log says so.
bool namesDisplay(int argc, char** argv);

/// From now on what the window system reports goes to the log as far as it matters, and a display
/// that cannot be opened ends the process with exit status 1 after one line in the log. To be
/// called before the application object is made.
void reportDisplayFailures();

} // namespace platform
