// AIThumbnailJob: one design-file thumbnail (PSD, AI) made on a thread of its own
// and waited for with a time limit. Exactly one of four events completes the
// wait: the thumbnail arrived, it failed, the time ran out, or the caller stopped
// it. A thumbnail that arrives after the wait ended is dropped: the thread keeps
// only a shared state the waiter has already left, never the waiter's own memory.
//
// Any thread may run a job; the call blocks its caller until one event happens.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>

#include "preview/thumbnailer.h"

namespace kelo {

class AIThumbnailJob {
public:
    using Thumbnailer = std::function<std::optional<RasterImage>(const std::filesystem::path&, int maxEdge)>;

    enum class Outcome { arrived, failed, timedOut, stopped };
    struct Result {
        Outcome outcome = Outcome::failed;
        std::optional<RasterImage> image;  // set when `arrived`
    };

    // libvips cannot stop a decode half-way, so a timed-out or stopped thread runs
    // on to its end in the background; only its result is thrown away.
    static Result run(const std::filesystem::path& file, int maxEdge, std::chrono::milliseconds timeout,
                      Thumbnailer thumbnailer, std::stop_token stop = {});
};

}  // namespace kelo
