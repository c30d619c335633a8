#include "bench_support.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace kelo::bench {

ScratchDir::ScratchDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/kelo-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

double timeOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace kelo::bench
