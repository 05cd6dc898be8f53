#include "OffscreenApplication.h"
#include "Platform/Dispatch.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

using platform::dispatchToMain;

TEST(DispatchToMain, RunsTasksLaterInTheirOrder) {
    std::vector<int> order;
    dispatchToMain([&order] { order.push_back(1); });
    dispatchToMain([&order] {
        order.push_back(2);
        dispatchToMain([&order] { order.push_back(4); });
    });
    dispatchToMain([&order] { order.push_back(3); });
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(runUntil([&order] { return order.size() == 4; }));
    EXPECT_THAT(order, testing::ElementsAre(1, 2, 3, 4));
}

TEST(DispatchToMain, RunsTasksOfOtherThreadsOnTheMainThread) {
    constexpr int count = 1000;
    int runs = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&runs] {
            for (int task = 0; task < count; ++task)
                dispatchToMain([&runs, posted = std::this_thread::get_id()] {
                    EXPECT_NE(std::this_thread::get_id(), posted);
                    ++runs;
                });
        });
    EXPECT_TRUE(runUntil([&runs] { return runs == 4 * count; }));
    for (std::thread& thread : threads)
        thread.join();
}

TEST(DispatchToMain, RunsTasksWhileAnAlertIsRunModally) {
    QEventLoop inner;
    dispatchToMain([&inner] { inner.exit(7); });
    EXPECT_EQ(inner.exec(), 7);
}
