#include "ai/ai_thumbnail_job.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace kelo {

namespace {

// Shared by the waiter and the worker thread; `mutex` guards the other fields.
struct JobState {
    std::mutex mutex;
    std::condition_variable_any done;
    bool finished = false;
    AIThumbnailJob::Result result;
};

}  // namespace

AIThumbnailJob::Result AIThumbnailJob::run(const std::filesystem::path& file, int maxEdge,
                                           std::chrono::milliseconds timeout, Thumbnailer thumbnailer,
                                           std::stop_token stop) {
    auto state = std::make_shared<JobState>();
    std::thread([state, file, maxEdge, thumbnailer = std::move(thumbnailer)] {
        std::optional<RasterImage> image;
        try {
            image = thumbnailer(file, maxEdge);
        } catch (...) {
            // Any failure inside the thumbnailer is simply no thumbnail.
        }
        std::lock_guard lock(state->mutex);
        if (state->finished) return;  // too late: the waiter has gone
        state->finished = true;
        state->result.outcome = image ? Outcome::arrived : Outcome::failed;
        state->result.image = std::move(image);
        state->done.notify_all();
    }).detach();

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::unique_lock lock(state->mutex);
    if (!state->done.wait_until(lock, stop, deadline, [&] { return state->finished; })) {
        state->finished = true;
        const bool early = std::chrono::steady_clock::now() < deadline;  // the stop came before the time ran out
        return Result{early ? Outcome::stopped : Outcome::timedOut, std::nullopt};
    }
    return std::move(state->result);
}

}  // namespace kelo
