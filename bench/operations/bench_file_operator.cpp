// FileOperator cost: 1,000 moves between two folders, each re-opening both folders
// from "/" without following links, re-reading the source's identity, renaming with
// RENAME_NOREPLACE and syncing both folders. Printed as a ratio to a bare loop of
// 1,000 renameat2 calls with the same two folder syncs each, measured in the same run.
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_support.h"
#include "operations/fd_path.h"
#include "operations/file_operator.h"

using namespace kelo;

namespace {

constexpr int kFiles = 1000;

std::string nameOf(int i) {
    return "HY-social-post-" + std::to_string(i) + ".png";
}

double runOperator(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::vector<FileIdentity> identities;
    for (int i = 0; i < kFiles; ++i) {
        struct stat info {};
        if (::lstat((from / nameOf(i)).c_str(), &info) != 0) std::exit(2);
        identities.push_back(fd_path::identityOf(info));
    }
    const FileOperator fileOperator;
    return bench::timeOf([&] {
        for (int i = 0; i < kFiles; ++i)
            fileOperator.moveWithoutReplacement(from / nameOf(i), to / nameOf(i),
                                                identities[static_cast<std::size_t>(i)]);
    });
}

double runFloor(const std::filesystem::path& from, const std::filesystem::path& to) {
    const int fromFd = ::open(from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int toFd = ::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fromFd < 0 || toFd < 0) std::exit(2);
    const double seconds = bench::timeOf([&] {
        for (int i = 0; i < kFiles; ++i) {
            const std::string name = nameOf(i);
            if (::syscall(SYS_renameat2, fromFd, name.c_str(), toFd, name.c_str(), RENAME_NOREPLACE) != 0 ||
                ::fsync(fromFd) != 0 || ::fsync(toFd) != 0)
                std::exit(2);
        }
    });
    ::close(fromFd);
    ::close(toFd);
    return seconds;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    bench::ScratchDir dir;
    const auto inbox = dir.path() / "Downloads";
    const auto job = dir.path() / "Jobs" / "Hydro Cafe" / "Export";
    std::filesystem::create_directories(inbox);
    std::filesystem::create_directories(job);
    for (int i = 0; i < kFiles; ++i) {
        const int fd = ::open((inbox / nameOf(i)).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0 || ::write(fd, "png", 3) != 3) return 2;
        ::close(fd);
    }
    std::vector<double> operators, floors;
    for (int round = 0; round < rounds; ++round) {
        operators.push_back(runOperator(inbox, job));  // files go to the job folder...
        floors.push_back(runFloor(job, inbox));        // ...and the floor brings them back
    }
    const double floor = bench::median(floors);
    std::printf("file operator: %d moves, median of %d rounds\n", kFiles, rounds);
    std::printf("  moveWithoutReplacement  %6.2fx floor\n", bench::median(operators) / floor);
    std::printf("  floor: %d renameat2 + 2 folder fsyncs = %.3f s\n", kFiles, floor);
    return 0;
}
