// SerialExecutor: one worker thread that runs submitted tasks one at a time, in
// order, each to completion. The engine's whole mutable state is confined to it.
// Any thread may submit; results come back through futures, before any idle work. Destruction finishes
// the tasks already queued, then joins the thread.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <type_traits>

namespace kelo {

class SerialExecutor {
public:
    SerialExecutor();
    ~SerialExecutor();
    SerialExecutor(const SerialExecutor&) = delete;
    SerialExecutor& operator=(const SerialExecutor&) = delete;

    template <class F>
    auto submit(F task) -> std::future<std::invoke_result_t<F>> {
        using Result = std::invoke_result_t<F>;
        auto packaged = std::make_shared<std::packaged_task<Result()>>(std::move(task));
        auto future = packaged->get_future();
        enqueue([packaged] { (*packaged)(); });
        return future;
    }

    // Runs `hook` on the worker whenever it finishes a task and finds nothing queued
    // (work that may wait for a quiet moment). Exceptions from it are dropped.
    void whenIdle(std::function<void()> hook);

    // True on the worker thread itself.
    bool isCurrent() const { return std::this_thread::get_id() == worker_.get_id(); }

private:
    void enqueue(std::function<void()> job);
    void run();

    std::mutex mutex_;  // guards queue_ and stopping_
    std::condition_variable wake_;
    std::deque<std::function<void()>> queue_;
    std::function<void()> idle_;  // guarded by mutex_; run outside it
    bool stopping_ = false;
    std::thread worker_;
};

}  // namespace kelo
