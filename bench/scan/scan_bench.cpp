// Scanning an inbox should cost about what listing it and reading each entry's
// attributes costs. Builds a flat folder of loose files (20,000 by default, or the
// first argument), then times, in the same run and on the same warm folder:
//   floor: a bare readdir + fstatat(AT_SYMLINK_NOFOLLOW) loop;
//   scan:  FileScanner::scan (statx, records, content type by name, sorting);
//   guess: content-type guessing alone over the same names.
// Prints each as a ratio to the floor (fastest of several alternating rounds). Aim: scan <= 2x.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "scan/content_type.h"
#include "scan/file_scanner.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

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

template <class Work>
double secondsOf(Work work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 20'000;
    constexpr int kRounds = 15;
    const fs::path inbox = makeInbox(count);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(inbox)) names.push_back(entry.path().filename().native());

    std::size_t listed = bareListing(inbox);  // warm the caches for both
    std::size_t scanned = kelo::FileScanner::scan({inbox}).files.size();
    // Rounds alternate between the three, so a busy neighbour on the machine slows
    // them alike; the fastest round of each is its cost.
    double floor = 1e9, scan = 1e9, guess = 1e9;
    std::size_t typed = 0;
    for (int round = 0; round < kRounds; ++round) {
        floor = std::min(floor, secondsOf([&] { listed = bareListing(inbox); }));
        scan = std::min(scan, secondsOf([&] { scanned = kelo::FileScanner::scan({inbox}).files.size(); }));
        guess = std::min(guess, secondsOf([&] {
                             typed = 0;
                             for (const auto& name : names) typed += kelo::guessContentType(name).has_value();
                         }));
    }
    fs::remove_all(inbox);

    if (listed != scanned) {
        std::printf("scan listed %zu files, the bare loop %zu\n", scanned, listed);
        return 1;
    }
    std::printf("inbox of %d entries, %zu regular visible files; fastest of %d rounds\n", count, listed, kRounds);
    std::printf("floor  readdir + fstatat       %8.2f ms   1.00x\n", floor * 1e3);
    std::printf("scan   FileScanner::scan       %8.2f ms   %.2fx  (aim <= 2x)\n", scan * 1e3, scan / floor);
    std::printf("guess  content type by name    %8.2f ms   %.2fx  (%zu of %zu names typed)\n", guess * 1e3,
                guess / floor, typed, names.size());
    return 0;
}
