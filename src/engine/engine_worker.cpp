#include "engine/engine_worker.h"

namespace kelo {

EngineWorker::EngineWorker(const std::filesystem::path& dataDirectory, Clock clock) {
    executor_
        .submit([this, dataDirectory, clock = std::move(clock)]() mutable {
            engine_ = std::make_unique<Engine>(dataDirectory, std::move(clock));
        })
        .get();
    // A batch leaves its last marks and what it learned to the next sync; a quiet
    // moment is the next sync.
    executor_.whenIdle([this] {
        if (engine_) engine_->flush();
    });
}

EngineWorker::~EngineWorker() {
    executor_.submit([this] { engine_.reset(); }).get();
}

}  // namespace kelo
