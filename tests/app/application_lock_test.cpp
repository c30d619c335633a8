// The single-instance lock, across real processes.
#include "app/application_lock.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::TempDir;

const std::string kRunning = "Another Kelo instance is running. File operations are disabled in this instance.";

std::string lockError(const std::filesystem::path& dir) {
    return testing::refusalOf([&] { ApplicationLock lock(dir); });
}

TEST(ApplicationLockTest, SecondInstanceIsRefusedUntilTheFirstDiesEvenByKill9) {
    TempDir dir;
    const auto data = dir / "data" / "Kelo";
    testing::ReportingChild child([&](const testing::ReportingChild::Report& report) {
        ApplicationLock lock(data);
        report(0);
        for (;;) ::pause();
    });
    ASSERT_TRUE(child.awaitReports(1));
    EXPECT_EQ(lockError(data), kRunning);

    child.kill();
    EXPECT_EQ(child.wait(), 128 + SIGKILL);
    EXPECT_EQ(lockError(data), "");
    // The leftover file is harmless and was never written.
    EXPECT_TRUE(std::filesystem::exists(data / "session.lock"));
    EXPECT_EQ(std::filesystem::file_size(data / "session.lock"), 0u);

    // flock locks belong to the open file description, so a second open in the same
    // process is refused too, until the first lock is destroyed.
    {
        ApplicationLock first(data);
        EXPECT_EQ(lockError(data), kRunning);
    }
    EXPECT_EQ(lockError(data), "");
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
