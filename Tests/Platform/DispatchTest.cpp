#include "Platform/Dispatch.h"

#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>

using platform::dispatchToBackground;

TEST(Dispatch, RunsTheTaskOnAnotherThread) {
    std::promise<std::thread::id> thread;
    dispatchToBackground(
        [&](const std::stop_token&) { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST(Dispatch, RunsManyTasksAtOnce) {
    constexpr int count = 32;
    // What the last of the tasks still looks at must outlive this test.
    const auto arrived = std::make_shared<std::atomic<int>>(0);
    const auto all = std::make_shared<std::promise<void>>();
    for (int i = 0; i < count; ++i) {
        dispatchToBackground([arrived, all](const std::stop_token&) {
            if (++*arrived == count)
                all->set_value();
            while (*arrived < count)
                std::this_thread::yield();
        });
    }
    all->get_future().get();
    EXPECT_EQ(*arrived, count);
}

TEST(Dispatch, LetsTheTasksWaitThatAreTooMany) {
    constexpr int count = 1000;
    const auto running = std::make_shared<std::atomic<int>>(0);
    const auto most = std::make_shared<std::atomic<int>>(0);
    const auto done = std::make_shared<std::atomic<int>>(0);
    for (int i = 0; i < count; ++i) {
        dispatchToBackground([=](const std::stop_token&) {
            const int now = ++*running;
            int seen = *most;
            while (seen < now && !most->compare_exchange_weak(seen, now)) {
            }
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            --*running;
            ++*done;
        });
    }
    EXPECT_TRUE(waitUntil([&] { return *done == count; }));
    EXPECT_LE(*most, 32);
}

TEST(DispatchDeathTest, DoesNotCrashWhereNoThreadCanBeStarted) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            // No memory has room for such a stack.
            pthread_attr_t attributes{};
            pthread_attr_init(&attributes);
            pthread_attr_setstacksize(&attributes, std::size_t{1} << 47U);
            pthread_setattr_default_np(&attributes);
            dispatchToBackground([](const std::stop_token&) {});
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "No thread could be started");
}

TEST(DispatchDeathTest, EndsTheProcessOnlyAfterItsTasksHaveHeededTheRequestToStop) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            auto started = std::make_shared<std::promise<void>>();
            dispatchToBackground([started](const std::stop_token& ending) {
                started->set_value();
                while (!ending.stop_requested())
                    std::this_thread::yield();
                static_cast<void>(std::fputs("task ended", stderr));
            });
            started->get_future().get();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "task ended");
}
