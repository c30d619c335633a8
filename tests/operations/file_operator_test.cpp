#include "operations/file_operator.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::refusalOf;
using testing::systemErrorOf;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

class FileOperatorTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path inbox = dir / "Inbox";
    fs::path job = dir / "Jobs" / "Hydro" / "Export";
    std::size_t descriptorsBefore = 0;
    FileOperator op;

    // Moves `source` as it is now, with `with`.
    static void move(const fs::path& source, const fs::path& destination, const FileOperator& with = FileOperator()) {
        with.moveWithoutReplacement(source, destination, Metadata::identity(source));
    }

    void SetUp() override {
        fs::create_directories(inbox);
        fs::create_directories(job);
        descriptorsBefore = openDescriptors();
    }
    void TearDown() override { EXPECT_EQ(openDescriptors(), descriptorsBefore) << "a descriptor was left open"; }
};

TEST_F(FileOperatorTest, MovesAcrossFoldersAndRenamesInPlace) {
    writeFile(inbox / "poster.png", "pixels");
    move(inbox / "poster.png", job / "poster.png");
    EXPECT_FALSE(fs::exists(inbox / "poster.png"));
    EXPECT_EQ(readFile(job / "poster.png"), "pixels");

    move(job / "poster.png", job / "HY-Poster-01.png");
    EXPECT_EQ(readFile(job / "HY-Poster-01.png"), "pixels");
    EXPECT_FALSE(fs::exists(job / "poster.png"));
}

TEST_F(FileOperatorTest, NeverReplacesAnExistingDestination) {
    writeFile(inbox / "a.pdf", "new");
    writeFile(job / "a.pdf", "old");
    EXPECT_EQ(systemErrorOf([&] { move(inbox / "a.pdf", job / "a.pdf"); }), EEXIST);
    EXPECT_EQ(readFile(inbox / "a.pdf"), "new");
    EXPECT_EQ(readFile(job / "a.pdf"), "old");
    // An empty folder at the destination name is not replaced either.
    fs::create_directory(job / "b");
    writeFile(inbox / "b", "file");
    EXPECT_NE(systemErrorOf([&] { move(inbox / "b", job / "b"); }), 0);
    EXPECT_EQ(readFile(inbox / "b"), "file");
}

// A file swapped in between the identity check and the rename is moved by the
// rename, then caught by the identity read after it, put back and refused.
TEST_F(FileOperatorTest, FileSwappedInBeforeTheRenameIsPutBackAndRefused) {
    writeFile(inbox / "brief.pdf", "the client's brief");
    writeFile(inbox / "decoy", "decoy");
    const FileIdentity planned = Metadata::identity(inbox / "brief.pdf");
    op.setBeforeRenameForTesting([&] {
        fs::rename(inbox / "brief.pdf", inbox / "elsewhere.pdf");
        fs::rename(inbox / "decoy", inbox / "brief.pdf");
    });
    EXPECT_EQ(refusalOf([&] { op.moveWithoutReplacement(inbox / "brief.pdf", job / "brief.pdf", planned); }),
              "Another file took the source's place just before the move; it was put back and nothing is recorded as "
              "moved. File left untouched.");
    EXPECT_FALSE(fs::exists(job / "brief.pdf"));
    EXPECT_EQ(readFile(inbox / "brief.pdf"), "decoy");
    EXPECT_EQ(readFile(inbox / "elsewhere.pdf"), "the client's brief");
}

// The same race for real: a thread keeps exchanging the source with a decoy while
// moves run. A move that returns must have moved the planned file.
TEST_F(FileOperatorTest, SwappingThreadNeverGetsADecoyMovedAsTheFile) {
    int refused = 0;
    for (int round = 0; round < 300; ++round) {
        const fs::path source = inbox / "art.png";
        const fs::path decoy = inbox / "decoy.png";
        writeFile(source, "art " + std::to_string(round));
        writeFile(decoy, "decoy");
        const FileIdentity planned = Metadata::identity(source);
        std::atomic<bool> stop = false;
        std::atomic<int> swaps = 0;
        std::thread swapper([&] {
            while (!stop) swaps += ::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, decoy.c_str(), RENAME_EXCHANGE) == 0;
        });
        while (swaps == 0) std::this_thread::yield();  // the race is on before the move starts
        const fs::path destination = job / ("art " + std::to_string(round) + ".png");
        try {
            op.moveWithoutReplacement(source, destination, planned);
        } catch (const KeloError&) {
            ++refused;
        }
        stop = true;
        swapper.join();
        if (fs::exists(destination)) {
            ASSERT_EQ(readFile(destination), "art " + std::to_string(round)) << "round " << round;
        }
        fs::remove(source);
        fs::remove(decoy);
    }
    EXPECT_GT(refused, 0) << "the swapper never caught a move";
}

TEST_F(FileOperatorTest, ChangedSourceIsLeftUntouched) {
    writeFile(inbox / "a.psd", "v1");
    const FileIdentity planned = Metadata::identity(inbox / "a.psd");
    writeFile(inbox / "a.psd", "version two");  // rewritten after planning
    EXPECT_EQ(refusalOf([&] { op.moveWithoutReplacement(inbox / "a.psd", job / "a.psd", planned); }),
              "Source identity changed immediately before move. File left untouched.");
    EXPECT_TRUE(fs::exists(inbox / "a.psd"));
    EXPECT_FALSE(fs::exists(job / "a.psd"));

    // A vanished source is the file system's own error.
    const FileIdentity current = Metadata::identity(inbox / "a.psd");
    EXPECT_NE(systemErrorOf([&] { op.moveWithoutReplacement(inbox / "gone.psd", job / "gone.psd", current); }), 0);
}

TEST_F(FileOperatorTest, RefusesPathsThroughSymbolicLinks) {
    writeFile(inbox / "a.pdf", "x");
    fs::create_directory_symlink(dir / "Jobs", dir / "Linked");
    fs::create_directory_symlink(inbox, dir / "InboxLink");
    const FileIdentity id = Metadata::identity(inbox / "a.pdf");
    EXPECT_NE(
        systemErrorOf([&] { op.moveWithoutReplacement(inbox / "a.pdf", dir / "Linked" / "Hydro" / "a.pdf", id); }), 0);
    EXPECT_NE(systemErrorOf([&] { op.moveWithoutReplacement(dir / "InboxLink" / "a.pdf", job / "a.pdf", id); }), 0);
    EXPECT_NE(systemErrorOf([&] { op.createDirectoryWithoutReplacement(dir / "Linked" / "New"); }), 0);
    EXPECT_TRUE(fs::exists(inbox / "a.pdf"));
    EXPECT_FALSE(fs::exists(dir / "Jobs" / "Hydro" / "a.pdf"));
    EXPECT_FALSE(fs::exists(dir / "Jobs" / "New"));
}

TEST_F(FileOperatorTest, FailedFolderSyncIsReportedAfterTheMove) {
    writeFile(inbox / "a.pdf", "x");
    int syncs = 0;
    const FileOperator failing([&](int) { return ++syncs, errno = EIO, -1; });
    EXPECT_EQ(refusalOf([&] { move(inbox / "a.pdf", job / "a.pdf", failing); }),
              "Move occurred but directory synchronization failed. Inspect recovery before continuing.");
    EXPECT_TRUE(fs::exists(job / "a.pdf"));
    EXPECT_EQ(syncs, 2);  // both folders were still flushed

    EXPECT_EQ(refusalOf([&] { failing.createDirectoryWithoutReplacement(job / "New"); }),
              "Directory created but synchronization failed.");
    EXPECT_TRUE(fs::is_directory(job / "New"));
}

TEST_F(FileOperatorTest, CreatesFolderOnlyWhenTheNameIsFree) {
    const mode_t previous = ::umask(0);
    op.createDirectoryWithoutReplacement(job / "Bìa");
    ::umask(previous);
    struct stat info {};
    ASSERT_EQ(::lstat((job / "Bìa").c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    EXPECT_EQ(info.st_mode & 07777, 0755u);

    EXPECT_EQ(systemErrorOf([&] { op.createDirectoryWithoutReplacement(job / "Bìa"); }), EEXIST);
    writeFile(job / "file", "x");
    EXPECT_EQ(systemErrorOf([&] { op.createDirectoryWithoutReplacement(job / "file"); }), EEXIST);
    EXPECT_EQ(readFile(job / "file"), "x");
    EXPECT_EQ(systemErrorOf([&] { op.createDirectoryWithoutReplacement(job / "missing" / "New"); }), ENOENT);
}

}  // namespace
}  // namespace kelo
