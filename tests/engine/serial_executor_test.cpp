#include <gtest/gtest.h>

#include <atomic>
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

}  // namespace
}  // namespace kelo
