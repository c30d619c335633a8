// Scanning an inbox should cost about what listing it and reading each entry's
// attributes costs. Builds a flat folder of loose files (20,000 by default, or the
// first argument), then measures, in the same run and on the same warm folder:
//   floor: a bare readdir + fstatat(AT_SYMLINK_NOFOLLOW) loop;
//   scan:  FileScanner::scan, as the engine calls it (statx, records, content
//          type by name, sorting);
//   guess: content-type guessing alone over the same names.
// Costs are CPU time of this thread (user and system), so neighbours on a busy
// machine add no waiting to either side; the floor and the scan run alternately,
// swapping which goes first each round, and the cheapest round of each is its
// cost. The scan's records are freed after its clock stops (freeing is the
// caller's, later) and that cost is shown on its own line.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "scan/content_type.h"
#include "scan/file_scanner.h"

namespace {

namespace fs = std::filesystem;

fs::path makeInbox(int count) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/kelo-bench-scan-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp");
        std::exit(1);
    }
    const char* extensions[] = {".pdf", ".png", ".psd", ".ai", ".zip", ".jpg", ".docx", ".mp4", "", ".txt"};
    for (int i = 0; i < count; ++i) {
        std::string name = "Client" + std::to_string(i % 37) + "-brief-v" + std::to_string(i) + extensions[i % 10];
        if (i % 50 == 0) name = "." + name;  // a few hidden ones, skipped by both
        const int fd = ::open((pattern + "/" + name).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        if (fd < 0 || ::write(fd, "x", 1) != 1) {
            std::perror("create");
            std::exit(1);
        }
        ::close(fd);
    }
    return pattern;
}

// The floor: what any listing of the folder must do at least.
std::size_t bareListing(const fs::path& folder) {
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) std::exit(1);
    std::size_t regular = 0;
    struct stat info {};
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.') continue;
        if (::fstatat(::dirfd(dir), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(info.st_mode)) ++regular;
    }
    ::closedir(dir);
    return regular;
}

double threadSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Thread CPU time is the whole cost only while the scan runs on the calling thread.
std::size_t threadCount() {
    const auto tasks = fs::directory_iterator("/proc/self/task");
    return static_cast<std::size_t>(std::distance(fs::begin(tasks), fs::end(tasks)));
}

template <class Work>
double secondsOf(Work work) {
    const double start = threadSeconds();
    work();
    return threadSeconds() - start;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 20'000;
    constexpr int kRounds = 21;
    const fs::path inbox = makeInbox(count);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(inbox)) names.push_back(entry.path().filename().native());

    std::size_t listed = bareListing(inbox);  // warm the caches for both
    std::size_t scanned = kelo::FileScanner::scan({inbox}).files.size();
    double floor = 1e9, scan = 1e9, release = 1e9, guess = 1e9;
    std::size_t typed = 0;
    const auto timeFloor = [&] { floor = std::min(floor, secondsOf([&] { listed = bareListing(inbox); })); };
    const auto timeScan = [&] {
        std::optional<kelo::ScanResult> result;
        scan = std::min(scan, secondsOf([&] { result = kelo::FileScanner::scan({inbox}); }));
        scanned = result->files.size();
        release = std::min(release, secondsOf([&] { result.reset(); }));
    };
    for (int round = 0; round < kRounds; ++round) {
        if (round % 2 == 0) {
            timeFloor();
            timeScan();
        } else {
            timeScan();
            timeFloor();
        }
        guess = std::min(guess, secondsOf([&] {
                             typed = 0;
                             for (const auto& name : names) typed += kelo::guessContentType(name.c_str()).has_value();
                         }));
    }
    fs::remove_all(inbox);

    if (listed != scanned) {
        std::printf("scan listed %zu files, the bare loop %zu\n", scanned, listed);
        return 1;
    }
    if (threadCount() != 1) {
        std::printf("another thread started (GIO?); this thread's CPU time may miss part of the scan\n");
        return 1;
    }
    std::printf("inbox of %d entries, %zu regular visible files; thread CPU time, cheapest of %d rounds\n", count,
                listed, kRounds);
    std::printf("floor  readdir + fstatat       %8.2f ms   1.00x\n", floor * 1e3);
    std::printf("scan   FileScanner::scan       %8.2f ms   %.2fx  (aim <= 2x)\n", scan * 1e3, scan / floor);
    std::printf("free   the scan's records      %8.2f ms   %.2fx\n", release * 1e3, release / floor);
    std::printf("guess  content type by name    %8.2f ms   %.2fx  (%zu of %zu names typed)\n", guess * 1e3,
                guess / floor, typed, names.size());
    return 0;
}
