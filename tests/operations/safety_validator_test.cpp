#include "operations/safety_validator.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "scan/metadata.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::setModified;
using testing::TempDir;
using testing::writeFile;

constexpr time_t kModified = 1700000000;

const std::string kRevoked = "Folder access is missing or revoked. Reconnect the approved folders.";
const std::string kBadName = "Invalid or too-long destination filename.";
const std::string kChanged = "Source changed since the plan was created. File left untouched.";
const std::string kActive = "Possibly active — left untouched.";
const std::string kRoles = "Move does not match approved watched-folder and project-home roles.";
const std::string kRename = "Rename must remain in its folder and preserve the extension.";
const std::string kNotWritable = "Destination folder is inaccessible or not writable.";
const std::string kCrossVolume = "Cross-volume moves are disabled in V1. File left untouched.";

std::string linkMessage(const fs::path& prefix) {
    return "Symbolic links are outside Kelo's safe operation scope: " + prefix.native();
}

// An inbox "Downloads" with a.pdf (modified at kModified) and a sub-folder, and a
// project home "Projects" with one job folder.
class SafetyValidatorTest : public ::testing::Test {
protected:
    SafetyValidatorTest() {
        writeFile(inbox / "a.pdf", "pdf");
        writeFile(inbox / "sub/deep.pdf", "deep");
        fs::create_directories(job);
        for (const char* file : {"a.pdf", "sub/deep.pdf"}) setModified(inbox / file, kModified);
    }

    PlannedOperation op(OperationType type, const fs::path& source, const fs::path& destination) {
        std::optional<FileIdentity> expected;
        if (type != OperationType::createDirectory) expected = Metadata::identity(source);
        return PlannedOperation{Uuid::random(), Uuid::random(), source, destination, expected, type, std::nullopt};
    }
    PlannedOperation fileIt() { return op(OperationType::move, inbox / "a.pdf", job / "a.pdf"); }

    // The refusal `validate` gives, or "" when the operation passes.
    std::string refusal(const PlannedOperation& operation, bool journal = true) {
        return testing::refusalOf([&] { validator.validate(operation, scope, journal, now); });
    }

    TempDir dir;
    fs::path inbox = dir / "Downloads";
    fs::path home = dir / "Projects";
    fs::path job = home / "Job";
    AccessScope scope{{inbox}, {home}};
    SafetyValidator validator;
    Date now = Date::fromTimespec(kModified + 60, 0);
};

// One rule at a time, each case a plan made against the folders as they are.
TEST_F(SafetyValidatorTest, RulesOfRootsNamesAndRenames) {
    writeFile(job / "b.pdf", "b");
    writeFile(dir / "Documents/x.pdf", "x");
    writeFile(inbox / "README", "r");
    for (const fs::path& file : {job / "b.pdf", inbox / "README"}) setModified(file, kModified);
    const std::string stem255(251, 'n');
    const auto move = OperationType::move;
    const auto rename = OperationType::rename;
    const struct {
        PlannedOperation operation;
        std::string refusal;
    } cases[] = {
        {fileIt(), ""},
        {op(rename, inbox / "a.pdf", inbox / "brief.pdf"), ""},
        {op(rename, inbox / "README", inbox / "NOTES"), ""},
        {op(OperationType::createDirectory, job, job / "Working"), ""},
        // A missing parent passes when the nearest existing ancestor is a writable folder.
        {op(move, inbox / "a.pdf", job / "Export/Social/a.pdf"), ""},
        // Undo has no role check: it may put a file back into its inbox.
        {op(OperationType::undo, job / "b.pdf", inbox / "b.pdf"), ""},
        {op(move, dir / "Documents/x.pdf", job / "x.pdf"), kRevoked},
        {op(move, inbox / "a.pdf", dir / "Documents/a.pdf"), kRevoked},
        {op(move, inbox / "a.pdf", job / "../../Documents/a.pdf"), kRevoked},
        {op(move, inbox / "a.pdf", dir / "Projects2/a.pdf"), kRevoked},
        {op(move, inbox / "a.pdf", job / (stem255 + ".pdf")), ""},
        {op(move, inbox / "a.pdf", job / (stem255 + "n.pdf")), kBadName},
        {op(move, inbox / "a.pdf", job / "a:b.pdf"), kBadName},  // the file system would take ":", we do not
        {op(OperationType::createDirectory, job, job.native() + "/New/.."), kBadName},
        {op(rename, inbox / "a.pdf", inbox / "a.pdf"), "Source and destination are identical."},
        {op(rename, inbox / "a.pdf", inbox.native() + "/./a.pdf"), "Source and destination are identical."},
        {op(rename, inbox / "a.pdf", inbox / "a.PDF"), kRename},
        {op(rename, inbox / "a.pdf", inbox / "a.png"), kRename},
        {op(rename, inbox / "a.pdf", inbox / "a"), kRename},
        {op(rename, inbox / "a.pdf", inbox / "sub/b.pdf"), kRename},
        {op(move, inbox / "a.pdf", job / "b.pdf"), "Name conflict: b.pdf already exists. Nothing was overwritten."},
        {op(OperationType::createDirectory, home, job), "Name conflict: Job already exists. Nothing was overwritten."},
        // Files leave an inbox only from its top, land only in project homes, and may
        // move between places inside them.
        {op(move, inbox / "sub/deep.pdf", job / "deep.pdf"), kRoles},
        {op(move, job / "b.pdf", inbox / "b.pdf"), kRoles},
        {op(move, job / "b.pdf", home / "Other/b.pdf"), ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(refusal(c.operation), c.refusal) << c.operation.source << " to " << c.operation.destination;
    EXPECT_EQ(refusal(op(move, inbox / "a.pdf", "/elsewhere/a:b"), /*journal=*/false),
              "Journal unavailable. No files were modified.");  // checked before anything else
    scope = AccessScope{};
    EXPECT_EQ(refusal(fileIt()), kRevoked);
}

TEST_F(SafetyValidatorTest, SymbolicLinksAnywhereAreRefused) {
    // A link to a folder inside the same home is refused all the same, even where
    // standardizing would hide it: the kernel would still pass through the link.
    fs::create_directory_symlink(job, home / "Shortcut");
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "a.pdf", home / "Shortcut/../Job/a.pdf")),
              linkMessage(home / "Shortcut"));

    fs::create_symlink(inbox / "a.pdf", inbox / "a-link.pdf");
    auto linked = fileIt();
    linked.source = inbox / "a-link.pdf";
    EXPECT_EQ(refusal(linked), linkMessage(inbox / "a-link.pdf"));

    fs::create_symlink(dir / "nowhere", job / "dangling.pdf");
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "a.pdf", job / "dangling.pdf")),
              linkMessage(job / "dangling.pdf"));

    // A parent swapped for a link after planning.
    const auto planned = fileIt();
    ASSERT_EQ(refusal(planned), "");
    fs::create_directories(dir / "Outside");
    fs::rename(job, home / "Job-moved");
    fs::create_directory_symlink(dir / "Outside", job);
    EXPECT_EQ(refusal(planned), linkMessage(job));
    EXPECT_TRUE(fs::is_empty(dir / "Outside"));
}

TEST_F(SafetyValidatorTest, SourceMustBeTheFileThePlanSaw) {
    auto noIdentity = fileIt();
    noIdentity.expected.reset();
    EXPECT_EQ(refusal(noIdentity), kChanged);

    const auto planned = fileIt();
    writeFile(inbox / "a.pdf", "longer now");
    setModified(inbox / "a.pdf", kModified);
    EXPECT_EQ(refusal(planned), kChanged);  // size

    const auto sized = fileIt();
    setModified(inbox / "a.pdf", kModified + 1);
    EXPECT_EQ(refusal(sized), kChanged);  // modification date

    const auto timed = fileIt();
    // Written while the original still exists, so the inode cannot be reused.
    writeFile(dir / "replacement", "longer now");
    setModified(dir / "replacement", kModified + 1);
    fs::rename(dir / "replacement", inbox / "a.pdf");
    ASSERT_NE(Metadata::identity(inbox / "a.pdf").inode, timed.expected->inode);
    EXPECT_EQ(refusal(timed), kChanged);  // same size and time, another inode

    fs::remove(inbox / "a.pdf");
    EXPECT_EQ(testing::systemErrorOf([&] { validator.validate(timed, scope, true, now); }), ENOENT);
}

TEST_F(SafetyValidatorTest, RecentlyModifiedFilesAreLeftAlone) {
    // Seconds and nanoseconds since the modification; the last is modified "in the future".
    for (const auto& [seconds, nanoseconds, answer] :
         {std::tuple{29, 0, kActive}, std::tuple{29, 900000000, kActive}, std::tuple{30, 0, std::string()},
          std::tuple{-3600, 0, kActive}}) {
        now = Date::fromTimespec(kModified + seconds, nanoseconds);
        EXPECT_EQ(refusal(fileIt()), answer) << seconds << " s " << nanoseconds << " ns after";
    }
    // Folders being created have no file to wait for.
    EXPECT_EQ(refusal(op(OperationType::createDirectory, job, job / "New")), "");
}

// A sub-folder of an inbox may be a project home of its own; with no home at all,
// every move fails the roles.
TEST_F(SafetyValidatorTest, RolesFollowTheScope) {
    scope = AccessScope{{inbox}, {inbox / "sub"}};
    fs::create_directories(inbox / "sub/Job");
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "sub/deep.pdf", inbox / "sub/Job/deep.pdf")), "");
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "a.pdf", inbox / "sub/Job/a.pdf")), "");
    scope.homes.clear();
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "a.pdf", inbox / "sub/a.pdf")), kRoles);
}

TEST_F(SafetyValidatorTest, DestinationFolderMustBeAWritableFolder) {
    writeFile(job / "file.txt", "not a folder");
    EXPECT_EQ(refusal(op(OperationType::move, inbox / "a.pdf", job / "file.txt/a.pdf")), kNotWritable);

    // Root may write anywhere, so the refusal is checked as an unprivileged user;
    // the same user may file into a folder it can write, so the check is not blind.
    fs::create_directories(home / "Open");
    fs::permissions(home / "Open", fs::perms::all);
    ASSERT_EQ(::chmod(job.c_str(), 0555), 0);  // writable by root alone
    const auto closed = fileIt();
    const auto open = op(OperationType::move, inbox / "a.pdf", home / "Open/New/a.pdf");
    const std::string answer = testing::runUnprivileged([&] { return refusal(closed) + "|" + refusal(open); });
    EXPECT_EQ(answer, kNotWritable + "|");
}

TEST_F(SafetyValidatorTest, CrossVolumeMovesAreRefused) {
    struct stat here {
    }, shm{};
    if (::stat("/dev/shm", &shm) != 0 || ::stat(dir.path().c_str(), &here) != 0 || shm.st_dev == here.st_dev ||
        ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "needs /dev/shm on another file system";
    TempDir other;  // on the test's file system, only to borrow a unique name
    const fs::path otherHome = fs::path("/dev/shm") / other.path().filename();
    fs::create_directories(otherHome);
    scope.homes.push_back(otherHome);
    const std::string answer = refusal(op(OperationType::move, inbox / "a.pdf", otherHome / "a.pdf"));
    fs::remove_all(otherHome);
    EXPECT_EQ(answer, kCrossVolume);

    // An expected identity from another device is refused even without a move.
    auto folder = op(OperationType::createDirectory, job, job / "New");
    folder.expected = FileIdentity{here.st_dev + 1, 1, 0, Date{}};
    EXPECT_EQ(refusal(folder), kCrossVolume);
}

}  // namespace
}  // namespace kelo
