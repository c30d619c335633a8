#include "engine/serial_executor.h"

namespace kelo {

SerialExecutor::SerialExecutor() : worker_([this] { run(); }) {}

SerialExecutor::~SerialExecutor() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    worker_.join();
}

void SerialExecutor::enqueue(std::function<void()> job) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void SerialExecutor::whenIdle(std::function<void()> hook) {
    std::lock_guard lock(mutex_);
    idle_ = std::move(hook);
}

void SerialExecutor::run() {
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
            if (queue_.empty()) return;  // stopping, and nothing left to do
            job = std::move(queue_.front());
            queue_.pop_front();
        }
        job();
        std::function<void()> idle;
        {
            std::lock_guard lock(mutex_);
            if (queue_.empty()) idle = idle_;
        }
        if (!idle) continue;
        try {
            idle();
        } catch (...) {
            // Idle work is a courtesy; the next task meets whatever made it fail.
        }
    }
}

}  // namespace kelo
