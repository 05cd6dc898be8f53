#pragma once

#include <functional>
#include <stop_token>

namespace platform {

/// Runs the task on another thread, at some time from now, and returns at once. Up to 32 tasks run
/// at the same time; more wait for their turn, so a task must not wait for another. One that the
/// system has no thread for waits too, with a line in the log.
///
/// When the process ends by returning from main or by exit(), the token asks every task to stop,
/// and the process waits for all of them; so a task must end soon once it is asked to. A task that
/// has not begun by then does not run.
void dispatchToBackground(std::function<void(std::stop_token ending)> task);

/// Runs the task on the main thread, at some time from now, when the application's event loop gets
/// to it, and returns at once. Tasks run in the order in which they came. Without a running
/// application (before NSApplicationMain has started it, or after it has ended) the task is
/// dropped.
void dispatchToMain(std::function<void()> task);

/// Stops and joins all background tasks now. For whoever sets up a library that tears itself down
/// at exit: registered with std::atexit after the library's set-up, it runs before the tear-down.
void endBackgroundTasks();

} // namespace platform
