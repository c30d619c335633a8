// Small helpers shared by the operations benchmarks: a scratch folder on the same
// file system as the system's temporary directory, a stopwatch and a median.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <vector>

namespace kelo::bench {

class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// Seconds taken by one call.
double timeOf(const std::function<void()>& work);
double median(std::vector<double> values);

}  // namespace kelo::bench
