#include "Platform/Dispatch.h"
#include "Platform/WakeUpPipe.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace platform {

namespace {

/// What the main thread waits at. Made and destroyed there, with the application object.
struct Receiver {
    /// Holds one byte while there are tasks. A mechanism of the toolkit's own would do as well, but
    /// no thread sanitizer sees through it.
    WakeUpPipe pipe;
    QSocketNotifier notifier{pipe.readEnd(), QSocketNotifier::Read};
};

/// Takes tasks for the main thread as long as there is an application object.
class MainQueue {
public:
    static MainQueue& shared() {
        static MainQueue queue;
        return queue;
    }

    void open() {
        auto receiver = std::make_unique<Receiver>();
        QObject::connect(&receiver->notifier, &QSocketNotifier::activated, &receiver->notifier,
                         [this] { runNext(); });
        const std::lock_guard lock(mutex_);
        receiver_ = std::move(receiver);
    }

    void close() {
        std::unique_ptr<Receiver> receiver;
        std::deque<std::function<void()>> dropped;
        const std::lock_guard lock(mutex_);
        receiver.swap(receiver_);
        dropped.swap(tasks_);
        // Both go after the lock: what the dropped tasks own may dispatch again when it goes.
    }

    void add(std::function<void()> task) {
        const std::lock_guard lock(mutex_);
        if (!receiver_)
            return;
        if (tasks_.empty())
            receiver_->pipe.add();
        tasks_.push_back(std::move(task));
    }

private:
    // One at a time, so that a task that runs the event loop itself holds none back.
    void runNext() {
        std::function<void()> task;
        {
            const std::lock_guard lock(mutex_);
            receiver_->pipe.take();
            task = std::move(tasks_.front());
            tasks_.pop_front();
            if (!tasks_.empty())
                receiver_->pipe.add();
        }
        task();
    }

    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
    std::unique_ptr<Receiver> receiver_;
};

void closeMainQueue() {
    MainQueue::shared().close();
}

void openMainQueue() {
    MainQueue::shared().open();
    qAddPostRoutine(closeMainQueue);
}

} // namespace

// Both ends of the queue's life are the application object's own, so that no thread can ever reach
// an object that is on its way out.
Q_COREAPP_STARTUP_FUNCTION(openMainQueue)

void dispatchToMain(std::function<void()> task) {
    MainQueue::shared().add(std::move(task));
}

} // namespace platform
