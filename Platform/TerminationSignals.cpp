#include "Platform/TerminationSignals.h"

#include "Platform/Log.h"

#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace platform {

namespace {

constexpr std::array terminationSignals = {SIGTERM, SIGINT, SIGHUP};

/// Written to by the signal handler, which can reach nothing else. It runs on any thread: the main
/// thread holds signals back while it starts a program.
std::atomic<int> signalDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void noteSignal(int) {
    const int error = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(signalDescriptor, &byte, sizeof byte);
    errno = error;
}

void install(int number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigaction(number, &action, nullptr);
}

void uninstall(int number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != noteSignal)
        return;
    action.sa_handler = SIG_DFL;
    sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> handler) {
    if (!pipe_.isOpen()) {
        NSLog("Signals will end the application at once: %@", {std::strerror(errno)});
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(pipe_.readEnd(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this, handler = std::move(handler)] {
                         notifier_->setEnabled(false);
                         handler();
                     });
    signalDescriptor = pipe_.writeEnd();
    for (const int number : terminationSignals)
        install(number);
}

TerminationSignals::~TerminationSignals() {
    if (!notifier_)
        return;
    for (const int number : terminationSignals)
        uninstall(number);
    signalDescriptor = -1;
}

} // namespace platform
