#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <vector>

#include "engine/serial_executor.h"

namespace kelo {
namespace {

TEST(SerialExecutorTest, RunsTasksOneAtATimeInSubmissionOrderOnOneThread) {
    std::vector<int> order;  // touched only on the worker
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    std::thread::id worker;
    std::vector<std::future<void>> done;
    {
        SerialExecutor executor;
        for (int i = 0; i < 200; ++i) {
            done.push_back(executor.submit([&, i] {
                if (running.fetch_add(1) != 0) overlapped = true;
                if (i == 0) worker = std::this_thread::get_id();
                if (std::this_thread::get_id() != worker) overlapped = true;
                order.push_back(i);
                running.fetch_sub(1);
            }));
        }
        EXPECT_EQ(executor.submit([&] { return executor.isCurrent(); }).get(), true);
        EXPECT_FALSE(executor.isCurrent());
    }  // destruction drains the queue
    for (auto& f : done) f.get();
    EXPECT_FALSE(overlapped);
    ASSERT_EQ(order.size(), 200u);
    for (int i = 0; i < 200; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

// Idle work waits until the queue is empty: never between queued tasks, and after
// a task's result is handed out.
TEST(SerialExecutorTest, IdleWorkRunsOnlyWhenNothingIsQueued) {
    std::vector<std::string> order;  // touched only on the worker
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    {
        SerialExecutor executor;
        executor.whenIdle([&] { order.push_back("idle"); });
        auto first = executor.submit([&] {
            released.wait();
            order.push_back("first");
        });
        auto second = executor.submit([&] { order.push_back("second"); });
        release.set_value();
        second.get();
    }  // the worker finishes what it started, idle work included, before it stops
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "idle"}));
}

}  // namespace
}  // namespace kelo
