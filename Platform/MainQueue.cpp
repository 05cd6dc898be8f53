#include "Platform/Dispatch.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <memory>
#include <mutex>
#include <utility>

namespace platform {

namespace {

/// Takes tasks for the main thread as long as there is an application object.
class MainQueue {
public:
    static MainQueue& shared() {
        static MainQueue queue;
        return queue;
    }

    void open() {
        const std::lock_guard lock(mutex_);
        receiver_ = std::make_unique<QObject>();
    }

    void close() {
        std::unique_ptr<QObject> receiver;
        {
            const std::lock_guard lock(mutex_);
            receiver.swap(receiver_);
        }
        // Outside of the lock: what the dropped tasks own may dispatch again when it goes.
    }

    void add(std::function<void()> task) {
        const std::lock_guard lock(mutex_);
        if (receiver_)
            QMetaObject::invokeMethod(receiver_.get(), std::move(task), Qt::QueuedConnection);
    }

private:
    std::mutex mutex_;
    std::unique_ptr<QObject> receiver_; // lives on the main thread
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
