#include "Platform/Dispatch.h"

#include "Platform/Log.h"

#include <cstddef>
#include <cstdlib>
#include <deque>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

using Work = std::function<void(std::stop_token)>;

/// More than any user's doing needs, and few enough for every system.
constexpr std::size_t mostThreads = 32;

/// The threads of all background tasks, joined once they have finished or when the process ends.
class BackgroundTasks {
public:
    static BackgroundTasks& shared() {
        // Never destroyed: it is called at exit, in an order that is not known here.
        static BackgroundTasks* const tasks = make();
        return *tasks;
    }

    void start(Work task) {
        const std::lock_guard lock(mutex_);
        if (ending_.stop_requested())
            return;
        waiting_.push_back(std::move(task));
        joinFinished();
        if (threads_.size() < mostThreads)
            startThread();
    }

    void end() {
        ending_.request_stop();
        std::list<Thread> last;
        {
            const std::lock_guard lock(mutex_);
            last.splice(last.begin(), threads_);
        }
        for (Thread& own : last)
            own.thread.join();
    }

private:
    struct Thread {
        std::thread thread;
        bool finished = false;
    };

    static BackgroundTasks* make() {
        static_cast<void>(std::atexit(endBackgroundTasks));
        return new BackgroundTasks;
    }

    void startThread() {
        const auto own = threads_.emplace(threads_.end());
        try {
            own->thread = std::thread([this, own] { serve(*own); });
        } catch (const std::system_error& error) {
            // A thread that runs gets to the task, or the next that can be started.
            threads_.erase(own);
            NSLog("No thread could be started: %@", {error.what()});
        }
    }

    void serve(Thread& own) {
        while (Work task = next(own))
            task(ending_.get_token());
    }

    /// The task that is next; none when there is nothing left to do for this thread.
    Work next(Thread& own) {
        const std::lock_guard lock(mutex_);
        own.finished = waiting_.empty() || ending_.stop_requested();
        if (own.finished)
            return nullptr;
        Work task = std::move(waiting_.front());
        waiting_.pop_front();
        return task;
    }

    void joinFinished() {
        threads_.remove_if([](Thread& own) {
            if (own.finished)
                own.thread.join();
            return own.finished;
        });
    }

    std::mutex mutex_;
    std::stop_source ending_;
    std::list<Thread> threads_;
    std::deque<Work> waiting_;
};

} // namespace

void dispatchToBackground(std::function<void(std::stop_token)> task) {
    BackgroundTasks::shared().start(std::move(task));
}

void endBackgroundTasks() {
    BackgroundTasks::shared().end();
}

} // namespace platform
