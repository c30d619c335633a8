// Checks, under strace, which system calls the file-changing code really makes: an
// exclusive rename and never a plain one, the folder syncs after it, and the Trash's
// info file created with O_EXCL before the item moves.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace kelo {
namespace {

// Runs one test of this very executable under strace and returns the traced calls.
std::vector<std::string> traceTest(const std::string& filter, const std::string& calls) {
    testing::TempDir dir;
    const auto trace = dir / "trace";
    // Inside the shell /proc/self/exe would name the shell, so resolve ours here.
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").native();
    const std::string command = "strace -f -qq -e trace=" + calls + " -o '" + trace.native() + "' '" + self +
                                "' --gtest_filter=" + filter + " >/dev/null 2>&1";
    std::vector<std::string> lines;
    // A traced test that fails, or a strace that cannot trace, proves nothing: fail.
    if (const int status = std::system(command.c_str()); status != 0) {
        ADD_FAILURE() << "the traced test " << filter << " did not pass under strace (status " << status << ")";
        return lines;
    }
    std::ifstream in(trace);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

bool stracePresent() {
    return std::system("command -v strace >/dev/null 2>&1") == 0;
}

bool contains(const std::string& line, const std::string& part) {
    return line.find(part) != std::string::npos;
}

TEST(SyscallTraceTest, MovesAreExclusiveRenamesFollowedByBothFolderSyncs) {
    ASSERT_TRUE(stracePresent()) << "strace is missing; scripts/bootstrap installs it";
    const auto lines =
        traceTest("FileOperatorTest.MovesAcrossFoldersAndRenamesInPlace", "rename,renameat,renameat2,fsync,fdatasync");
    ASSERT_FALSE(lines.empty());
    int exclusive = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_FALSE(contains(lines[i], " rename(") || contains(lines[i], " renameat(")) << lines[i];
        if (!contains(lines[i], "renameat2(")) continue;
        EXPECT_TRUE(contains(lines[i], "RENAME_NOREPLACE")) << lines[i];
        ++exclusive;
        ASSERT_LT(i + 2, lines.size());
        EXPECT_TRUE(contains(lines[i + 1], "fsync(") && contains(lines[i + 2], "fsync(")) << lines[i + 1];
    }
    EXPECT_EQ(exclusive, 2);
}

TEST(SyscallTraceTest, TrashClaimsTheInfoFileBeforeTheItemMoves) {
    ASSERT_TRUE(stracePresent()) << "strace is missing; scripts/bootstrap installs it";
    const auto lines = traceTest("TrashTest.HomeTrashRecordsThePathAndRestoresIt", "openat,rename,renameat,renameat2");
    ASSERT_FALSE(lines.empty());
    std::size_t info = lines.size();
    std::size_t move = lines.size();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_FALSE(contains(lines[i], " rename(") || contains(lines[i], " renameat(")) << lines[i];
        if (info == lines.size() && contains(lines[i], ".trashinfo\"") && contains(lines[i], "O_EXCL")) info = i;
        if (move == lines.size() && contains(lines[i], "renameat2(")) {
            move = i;
            EXPECT_TRUE(contains(lines[i], "RENAME_NOREPLACE")) << lines[i];
        }
    }
    ASSERT_LT(info, lines.size()) << "no O_EXCL open of the info file";
    ASSERT_LT(move, lines.size());
    EXPECT_LT(info, move);
}

}  // namespace
}  // namespace kelo
