#include "Platform/Dispatch.h"

#include <cstdlib>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace platform {

namespace {

/// The threads of all background tasks, joined once they have finished or when the process ends.
class BackgroundTasks {
public:
    static BackgroundTasks& shared() {
        // Never destroyed: it is called at exit, in an order that is not known here.
        static BackgroundTasks* const tasks = make();
        return *tasks;
    }

    void start(std::function<void(std::stop_token)> task) {
        const std::lock_guard lock(mutex_);
        if (ending_.stop_requested())
            return;
        joinFinished();
        const auto own = tasks_.emplace(tasks_.end());
        own->thread = std::thread([this, own, task = std::move(task)]() mutable {
            task(ending_.get_token());
            task = nullptr; // what the task owns goes before the task counts as finished
            const std::lock_guard finishing(mutex_);
            own->finished = true;
        });
    }

    void end() {
        ending_.request_stop();
        std::list<Task> last;
        {
            const std::lock_guard lock(mutex_);
            last.splice(last.begin(), tasks_);
        }
        for (Task& task : last)
            task.thread.join();
    }

private:
    struct Task {
        std::thread thread;
        bool finished = false;
    };

    static BackgroundTasks* make() {
        static_cast<void>(std::atexit(endBackgroundTasks));
        return new BackgroundTasks;
    }

    void joinFinished() {
        tasks_.remove_if([](Task& task) {
            if (task.finished)
                task.thread.join();
            return task.finished;
        });
    }

    std::mutex mutex_;
    std::stop_source ending_;
    std::list<Task> tasks_;
};

} // namespace

void dispatchToBackground(std::function<void(std::stop_token)> task) {
    BackgroundTasks::shared().start(std::move(task));
}

void endBackgroundTasks() {
    BackgroundTasks::shared().end();
}

} // namespace platform
