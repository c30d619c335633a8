// The Trash that desktop file managers share (items, info files, restore), and the
// policy of what Kelo may put there.
#include "operations/trash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "operations/trash_policy.h"
#include "scan/metadata.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/shell.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::refusalOf;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

const Date kDeleted = Date::fromUnix(1700000000);
const std::string kFileScope = "Cấp quyền lại cho thư mục chứa tệp trước khi xóa.";
const std::string kFileChanged = "Tệp đã thay đổi. Làm mới trước khi xóa.";
const std::string kOutsideHomes =
    "Job này nằm ngoài thư mục dự án đang được cấp quyền. Vào Cài đặt → Thư mục → Chọn thư mục chứa job, rồi chọn "
    "thư mục cha của job này. Không cần cấp quyền toàn bộ ổ đĩa.";
const std::string kNotDirectChild =
    "Chỉ xóa thư mục job trực tiếp trong thư mục dự án đã cấp quyền; không xóa thư mục gốc.";
const std::string kNotOrdinary = "Job không còn là thư mục thông thường. Hãy quét lại.";

std::string linkRefusal(const fs::path& link) {
    return "Symbolic links are outside Kelo's safe operation scope: " + link.native();
}

class TrashTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path home = dir / "home";
    fs::path dataHome = home / ".local" / "share";
    fs::path inbox = dir / "Downloads";
    const Trash trash{Trash::Environment{dataHome, ::getuid(), [] { return kDeleted; }}};

    void SetUp() override { fs::create_directories(inbox); }
};

TEST_F(TrashTest, HomeTrashRecordsThePathAndRestoresIt) {
    const fs::path item = inbox / "Bìa #1 final.psd";
    writeFile(item, "layers");
    const TrashedItem trashed = trash.moveToTrash(item);

    EXPECT_EQ(trashed, (TrashedItem{item, dataHome / "Trash" / "files" / "Bìa #1 final.psd",
                                    dataHome / "Trash" / "info" / "Bìa #1 final.psd.trashinfo", trashed.identity}));
    EXPECT_FALSE(fs::exists(item));
    EXPECT_EQ(readFile(trashed.trashed), "layers");
    EXPECT_EQ(readFile(trashed.info), "[Trash Info]\nPath=" + percentEncode(item.native(), "/") +
                                          "\nDeletionDate=" + localTimestamp(kDeleted) + "\n");
    EXPECT_NE(readFile(trashed.info).find("B%C3%ACa%20%231%20final.psd"), std::string::npos);
    struct stat info {};
    ASSERT_EQ(::lstat((dataHome / "Trash").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);

    trash.restore(trashed);
    EXPECT_EQ(readFile(item), "layers");
    EXPECT_FALSE(fs::exists(trashed.trashed));
    EXPECT_FALSE(fs::exists(trashed.info));
}

TEST_F(TrashTest, TakenNamesGetTheNextFreeName) {
    writeFile(inbox / "report.pdf", "one");
    const TrashedItem first = trash.moveToTrash(inbox / "report.pdf");
    // A leftover item without an info file holds "report 2.pdf".
    writeFile(dataHome / "Trash" / "files" / "report 2.pdf", "leftover");
    writeFile(inbox / "report.pdf", "two");
    const TrashedItem second = trash.moveToTrash(inbox / "report.pdf");
    writeFile(inbox / "README", "three");
    writeFile(dataHome / "Trash" / "info" / "README.trashinfo", "someone else's");
    const TrashedItem third = trash.moveToTrash(inbox / "README");

    EXPECT_EQ(first.trashed.filename(), "report.pdf");
    EXPECT_EQ(second.trashed.filename(), "report 3.pdf");
    EXPECT_EQ(second.info.filename(), "report 3.pdf.trashinfo");
    EXPECT_EQ(third.trashed.filename(), "README 2");
    EXPECT_EQ(readFile(second.trashed), "two");
    EXPECT_EQ(readFile(dataHome / "Trash" / "files" / "report 2.pdf"), "leftover");
    EXPECT_FALSE(fs::exists(dataHome / "Trash" / "info" / "report 2.pdf.trashinfo"));  // removed after the failed move
    EXPECT_EQ(readFile(dataHome / "Trash" / "info" / "README.trashinfo"), "someone else's");

    // A name of 255 bytes (mostly three-byte letters) gets a shorter trashed name whose
    // info file still fits; the info keeps the whole original name, and it comes back.
    std::string longName = "xx";
    for (int letter = 0; letter < 83; ++letter) longName += "ạ";
    longName += ".psd";
    ASSERT_EQ(longName.size(), 255u);
    for (int copy = 0; copy < 2; ++copy) {
        writeFile(inbox / longName, "long " + std::to_string(copy));
        const TrashedItem trashed = trash.moveToTrash(inbox / longName);
        EXPECT_LE(trashed.info.filename().native().size(), 255u);
        EXPECT_EQ(trashed.trashed.extension(), ".psd");
        EXPECT_NE(readFile(trashed.info).find(percentEncode((inbox / longName).native(), "/")), std::string::npos);
        if (copy == 1) {
            trash.restore(trashed);
            EXPECT_EQ(readFile(inbox / longName), "long 1");
        }
    }
}

// A kill after the info file is written and before the item moves leaves an entry
// that trash tools list with nothing behind it: the next start removes it, and
// only it.
TEST_F(TrashTest, InfoFileOfAMoveCutShortIsRemovedAtTheNextStart) {
    writeFile(inbox / "brief.pdf", "brief");
    writeFile(inbox / "logo.png", "logo");
    Trash::Environment environment{dataHome, ::getuid(), [] { return kDeleted; }, dir / "notes", {}};
    Trash(environment).moveToTrash(inbox / "logo.png");  // a move that finished
    writeFile(dataHome / "Trash" / "info" / "other.trashinfo", "someone else's orphan");
    ASSERT_EQ(testing::waitForChild(testing::startChild([&] {
                  environment.beforeMove = [] { ::_exit(42); };
                  Trash(environment).moveToTrash(inbox / "brief.pdf");
              })),
              42);
    ASSERT_TRUE(fs::exists(dataHome / "Trash" / "info" / "brief.pdf.trashinfo"));

    EXPECT_EQ(Trash(environment).settleInterrupted(), 1u);
    EXPECT_FALSE(fs::exists(dataHome / "Trash" / "info" / "brief.pdf.trashinfo"));
    EXPECT_EQ(readFile(inbox / "brief.pdf"), "brief");
    EXPECT_TRUE(fs::exists(dataHome / "Trash" / "info" / "logo.png.trashinfo"));
    EXPECT_EQ(readFile(dataHome / "Trash" / "info" / "other.trashinfo"), "someone else's orphan");
    EXPECT_TRUE(fs::is_empty(dir / "notes"));
}

TEST_F(TrashTest, FailedMoveLeavesNoInfoAndChangedItemStays) {
    EXPECT_THROW(trash.moveToTrash(inbox / "missing.pdf"), std::system_error);

    writeFile(inbox / "a.ai", "v1");
    const FileIdentity planned = Metadata::identity(inbox / "a.ai");
    writeFile(inbox / "a.ai", "version two");
    EXPECT_EQ(refusalOf([&] { trash.moveToTrash(inbox / "a.ai", planned); }), kFileChanged);
    EXPECT_TRUE(fs::exists(inbox / "a.ai"));
    EXPECT_TRUE(fs::is_empty(dataHome / "Trash" / "info"));
    EXPECT_TRUE(fs::is_empty(dataHome / "Trash" / "files"));

    // Through a link, nothing moves either.
    fs::create_directory_symlink(inbox, dir / "Linked");
    EXPECT_THROW(trash.moveToTrash(dir / "Linked" / "a.ai"), std::system_error);
    EXPECT_TRUE(fs::is_empty(dataHome / "Trash" / "info"));
}

TEST_F(TrashTest, RestoreNeverReplacesAndKeepsTheInfoUntilItSucceeds) {
    writeFile(inbox / "a.png", "old");
    const TrashedItem trashed = trash.moveToTrash(inbox / "a.png");
    writeFile(inbox / "a.png", "new file with the same name");
    EXPECT_EQ(refusalOf([&] { trash.restore(trashed); }),
              "Name conflict: a.png already exists in " + inbox.string() + ". It stays in the Trash; nothing was overwritten.");
    EXPECT_EQ(readFile(inbox / "a.png"), "new file with the same name");
    EXPECT_EQ(readFile(trashed.trashed), "old");
    EXPECT_TRUE(fs::exists(trashed.info));

    // Something else now lies under the trashed name: it is not "restored".
    fs::remove(inbox / "a.png");
    fs::remove(trashed.trashed);
    writeFile(trashed.trashed, "another program's file");
    EXPECT_EQ(refusalOf([&] { trash.restore(trashed); }),
              "The item in the Trash is no longer the one Kelo moved there. Nothing was restored.");
    EXPECT_FALSE(fs::exists(inbox / "a.png"));
    EXPECT_TRUE(fs::exists(trashed.info));
}

TEST_F(TrashTest, VolumeTrashUsesStickyDotTrashOrFallsBackToDotTrashUid) {
    const std::string uid = std::to_string(::getuid());
    const fs::path topdir = dir / "volume";
    fs::create_directories(topdir / "Jobs");

    // No .Trash: $topdir/.Trash-$uid, with a Path relative to the top folder.
    writeFile(topdir / "Jobs" / "a b.pdf", "x");
    const TrashedItem first = trash.moveInto(trash.volumeTrash(topdir), topdir / "Jobs" / "a b.pdf");
    EXPECT_EQ(first.trashed, topdir / (".Trash-" + uid) / "files" / "a b.pdf");
    EXPECT_NE(readFile(first.info).find("\nPath=Jobs/a%20b.pdf\n"), std::string::npos);

    // A .Trash that is not sticky is not used.
    fs::create_directory(topdir / ".Trash");
    EXPECT_EQ(trash.volumeTrash(topdir).root, topdir / (".Trash-" + uid));
    // Nor is a link to a sticky folder.
    fs::remove(topdir / ".Trash");
    fs::create_directory(dir / "sticky");
    ASSERT_EQ(::chmod((dir / "sticky").c_str(), 01777), 0);
    fs::create_directory_symlink(dir / "sticky", topdir / ".Trash");
    EXPECT_EQ(trash.volumeTrash(topdir).root, topdir / (".Trash-" + uid));
    // A sticky .Trash gets a folder per user.
    fs::remove(topdir / ".Trash");
    fs::create_directory(topdir / ".Trash");
    ASSERT_EQ(::chmod((topdir / ".Trash").c_str(), 01777), 0);
    writeFile(topdir / "Jobs" / "c.pdf", "y");
    const TrashedItem second = trash.moveInto(trash.volumeTrash(topdir), topdir / "Jobs" / "c.pdf");
    EXPECT_EQ(second.trashed, topdir / ".Trash" / uid / "files" / "c.pdf");

    trash.restore(second);
    EXPECT_EQ(readFile(topdir / "Jobs" / "c.pdf"), "y");
}

TEST(TrashVolumeTest, TopFolderIsTheHighestAncestorOnTheItemsDevice) {
    const auto devices = [](const fs::path& path) -> std::optional<std::uint64_t> {
        const std::string text = path.native();
        if (text.rfind("/media/usb", 0) == 0) return 2;  // a drive mounted at /media/usb
        if (text == "/media/locked") return std::nullopt;
        return 1;
    };
    EXPECT_EQ(Trash::volumeTop("/media/usb/Jobs/Hydro/a.psd", devices), fs::path("/media/usb"));
    EXPECT_EQ(Trash::volumeTop("/media/usb/a.psd", devices), fs::path("/media/usb"));
    EXPECT_EQ(Trash::volumeTop("/home/u/a.psd", devices), fs::path("/"));
    EXPECT_EQ(Trash::volumeTop("/media/locked/x/a.psd", devices), fs::path("/media/locked/x"));
}

// Another tool reading the same Trash sees what Kelo put there.
TEST_F(TrashTest, TrashListSeesKeloItemsAndKeloRestoresThem) {
    if (std::system("command -v trash-list >/dev/null 2>&1") != 0) GTEST_SKIP() << "trash-list is not installed";
    const fs::path item = inbox / "Hydro poster v2.png";
    writeFile(item, "pixels");
    const TrashedItem trashed = trash.moveToTrash(item);
    const std::string list =
        "HOME='" + home.native() + "' XDG_DATA_HOME='" + dataHome.native() + "' trash-list 2>/dev/null";
    EXPECT_NE(testing::runShell(list).output.find(item.native()), std::string::npos);

    trash.restore(trashed);
    EXPECT_EQ(readFile(item), "pixels");
    EXPECT_EQ(testing::runShell(list).output.find(item.native()), std::string::npos);
}

class TrashPolicyTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path inbox = dir / "Downloads";
    fs::path home = dir / "Projects";
    AccessScope scope{{inbox}, {home}};

    void SetUp() override {
        writeFile(inbox / "a.pdf", "a");
        fs::create_directories(home / "Job/Working");
    }
    std::string fileRefusal(const FileRecord& record) {
        return refusalOf([&] { TrashPolicy::validateFile(record, scope); });
    }
    std::string projectRefusal(const fs::path& folder) {
        return refusalOf([&] { TrashPolicy::validateProject(Project::make("Job", folder), scope); });
    }
};

TEST_F(TrashPolicyTest, FileMustBeApprovedFreeOfLinksAndUnchanged) {
    const FileRecord record = Metadata::record(inbox / "a.pdf", inbox);
    EXPECT_EQ(fileRefusal(record), "");

    scope.watched.clear();
    EXPECT_EQ(fileRefusal(record), kFileScope);
    scope.watched.push_back(inbox);

    fs::create_directory_symlink(inbox, home / "inbox-link");
    FileRecord linked = record;
    linked.url = home / "inbox-link/a.pdf";
    EXPECT_EQ(fileRefusal(linked), linkRefusal(home / "inbox-link"));
    linked.url = home / "inbox-link/../../Downloads/a.pdf";
    EXPECT_EQ(fileRefusal(linked), linkRefusal(home / "inbox-link"));

    writeFile(inbox / "a.pdf", "rewritten");
    EXPECT_EQ(fileRefusal(record), kFileChanged);
    fs::remove(inbox / "a.pdf");
    EXPECT_THROW(TrashPolicy::validateFile(record, scope), std::system_error);
}

TEST_F(TrashPolicyTest, OnlyAnOrdinaryJobFolderDirectlyInsideAHome) {
    fs::create_directory_symlink(home / "Job", home / "Alias");
    writeFile(home / "loose.pdf", "x");
    fs::create_directories(home / "Pictures.photoslibrary/database");
    const std::pair<fs::path, std::string> cases[] = {
        {home / "Job", ""},
        {home.native() + "/Job/", ""},
        {dir / "Elsewhere/Job", kOutsideHomes},
        {inbox / "Job", kOutsideHomes},
        {home, kNotDirectChild},
        {home / "Job/Working", kNotDirectChild},
        {home / "Alias", linkRefusal(home / "Alias")},
        {home / "loose.pdf", kNotOrdinary},
        {home / "Pictures.photoslibrary", kNotOrdinary},
    };
    for (const auto& [folder, refusal] : cases) EXPECT_EQ(projectRefusal(folder), refusal) << folder;
}

}  // namespace
}  // namespace kelo
