#include "operations/trash_policy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

const std::string kFileScope = "Cấp quyền lại cho thư mục chứa tệp trước khi xóa.";
const std::string kFileChanged = "Tệp đã thay đổi. Làm mới trước khi xóa.";
const std::string kOutsideHomes =
    "Job này nằm ngoài thư mục dự án đang được cấp quyền. Vào Cài đặt → Thư mục → Chọn thư mục chứa job, rồi chọn "
    "thư mục cha của job này. Không cần cấp quyền toàn bộ ổ đĩa.";
const std::string kNotDirectChild =
    "Chỉ xóa thư mục job trực tiếp trong thư mục dự án đã cấp quyền; không xóa thư mục gốc.";
const std::string kNotOrdinary = "Job không còn là thư mục thông thường. Hãy quét lại.";

class TrashPolicyTest : public ::testing::Test {
protected:
    TrashPolicyTest() {
        writeFile(inbox / "a.pdf", "a");
        fs::create_directories(home / "Job/Working");
        scope = AccessScope{{inbox}, {home}};
    }
    std::string fileRefusal(const FileRecord& record) {
        return testing::refusalOf([&] { TrashPolicy::validateFile(record, scope); });
    }
    std::string projectRefusal(const fs::path& folder) {
        return testing::refusalOf([&] { TrashPolicy::validateProject(Project::make("Job", folder), scope); });
    }

    TempDir dir;
    fs::path inbox = dir / "Downloads";
    fs::path home = dir / "Projects";
    AccessScope scope;
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
    EXPECT_EQ(fileRefusal(linked),
              "Symbolic links are outside Kelo's safe operation scope: " + (home / "inbox-link").native());

    linked.url = home / "inbox-link/../../Downloads/a.pdf";
    EXPECT_EQ(fileRefusal(linked),
              "Symbolic links are outside Kelo's safe operation scope: " + (home / "inbox-link").native());

    writeFile(inbox / "a.pdf", "rewritten");
    EXPECT_EQ(fileRefusal(record), kFileChanged);
    fs::remove(inbox / "a.pdf");
    EXPECT_THROW(TrashPolicy::validateFile(record, scope), std::system_error);
}

TEST_F(TrashPolicyTest, OnlyAnOrdinaryJobFolderDirectlyInsideAHome) {
    EXPECT_EQ(projectRefusal(home / "Job"), "");
    EXPECT_EQ(projectRefusal(home.native() + "/Job/"), "");

    EXPECT_EQ(projectRefusal(dir / "Elsewhere/Job"), kOutsideHomes);
    EXPECT_EQ(projectRefusal(inbox / "Job"), kOutsideHomes);
    EXPECT_EQ(projectRefusal(home), kNotDirectChild);
    EXPECT_EQ(projectRefusal(home / "Job/Working"), kNotDirectChild);

    fs::create_directory_symlink(home / "Job", home / "Alias");
    EXPECT_EQ(projectRefusal(home / "Alias"),
              "Symbolic links are outside Kelo's safe operation scope: " + (home / "Alias").native());

    writeFile(home / "loose.pdf", "x");
    EXPECT_EQ(projectRefusal(home / "loose.pdf"), kNotOrdinary);
    fs::create_directories(home / "Pictures.photoslibrary/database");
    EXPECT_EQ(projectRefusal(home / "Pictures.photoslibrary"), kNotOrdinary);
}

}  // namespace
}  // namespace kelo
