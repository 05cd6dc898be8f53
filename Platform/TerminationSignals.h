#pragma once

#include "Platform/WakeUpPipe.h"

#include <functional>
#include <memory>

class QSocketNotifier;

namespace platform {

/// Turns the signals that ask a process to end (SIGTERM, SIGINT and SIGHUP) into a call on the main
/// thread, for as long as this lives. One at a time.
///
/// Only the first signal is turned: a second one of the same kind ends the process at once, so that
/// a main thread that is held up cannot keep it from ending. A signal that was ignored when the
/// process started (nohup) stays ignored.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> handler);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

private:
    WakeUpPipe pipe_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace platform
