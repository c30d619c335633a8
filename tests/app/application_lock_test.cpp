// The single-instance lock, across real processes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/application_lock.h"
#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::TempDir;

std::string lockError(const std::filesystem::path& dir) {
    return testing::refusalOf([&] { ApplicationLock lock(dir); });
}

// Forks a child that takes the lock, reports through a pipe, then waits until killed.
pid_t holdLockInChild(const std::filesystem::path& dir) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    const pid_t child = testing::startChild([&] {
        close(ready[0]);
        ApplicationLock lock(dir);
        char ok = 'y';
        (void)!write(ready[1], &ok, 1);
        for (;;) pause();
    });
    close(ready[1]);
    char ok = 0;
    EXPECT_EQ(read(ready[0], &ok, 1), 1);
    close(ready[0]);
    return child;
}

TEST(ApplicationLockTest, SecondInstanceIsRefusedUntilTheFirstDiesEvenByKill9) {
    TempDir dir;
    const auto data = dir / "data" / "Kelo";
    const pid_t child = holdLockInChild(data);
    EXPECT_EQ(lockError(data), "Another Kelo instance is running. File operations are disabled in this instance.");

    kill(child, SIGKILL);
    EXPECT_EQ(testing::waitForChild(child), 128 + SIGKILL);
    EXPECT_EQ(lockError(data), "");
    // The leftover file is harmless and was never written.
    EXPECT_TRUE(std::filesystem::exists(data / "session.lock"));
    EXPECT_EQ(std::filesystem::file_size(data / "session.lock"), 0u);
}

TEST(ApplicationLockTest, ReleasedOnDestructionInTheSameProcess) {
    TempDir dir;
    {
        ApplicationLock first(dir.path());
        EXPECT_GE(first.descriptor(), 0);
        // flock locks belong to the open file description, so a second open in the
        // same process is refused too.
        EXPECT_EQ(lockError(dir.path()),
                  "Another Kelo instance is running. File operations are disabled in this instance.");
    }
    EXPECT_EQ(lockError(dir.path()), "");
}

TEST(ApplicationLockTest, SymbolicLinkLockFileIsNotFollowed) {
    TempDir dir;
    testing::writeFile(dir / "target", "keep");
    std::filesystem::create_symlink(dir / "target", dir / "session.lock");
    EXPECT_EQ(lockError(dir.path()), "Cannot open app session lock.");
    EXPECT_EQ(testing::readFile(dir / "target"), "keep");
}

}  // namespace
}  // namespace kelo
