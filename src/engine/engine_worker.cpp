#include "engine/engine_worker.h"

namespace kelo {

EngineWorker::EngineWorker(const std::filesystem::path& dataDirectory, Clock clock) {
    executor_
        .submit([this, dataDirectory, clock = std::move(clock)]() mutable {
            engine_ = std::make_unique<Engine>(dataDirectory, std::move(clock));
        })
        .get();
}

EngineWorker::~EngineWorker() {
    executor_.submit([this] { engine_.reset(); }).get();
}

}  // namespace kelo
