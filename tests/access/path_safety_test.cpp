#include "access/path_safety.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "model/kelo_error.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

TEST(PathSafetyTest, KeyIsTheStandardizedPath) {
    EXPECT_EQ(PathSafety::key("/a/b/"), "/a/b");
    EXPECT_EQ(PathSafety::key("/a/./b//c/../d"), "/a/b/d");
    EXPECT_EQ(PathSafety::key("/"), "/");
    EXPECT_EQ(PathSafety::key("/a/.."), "/");
    EXPECT_EQ(PathSafety::key("/a/b"), PathSafety::key("/a/b/."));
    // Paths already in standard form come back unchanged; any other spelling is normalized.
    EXPECT_EQ(PathSafety::key("a/b.c/..d"), "a/b.c/..d");
    EXPECT_EQ(PathSafety::key("a//b"), "a/b");
    EXPECT_EQ(PathSafety::key("./a"), "a");
    EXPECT_EQ(PathSafety::key("a/../.."), "..");
    EXPECT_EQ(PathSafety::key("//"), "/");
}

TEST(PathSafetyTest, ContainsByWholeCaseSensitiveComponents) {
    EXPECT_TRUE(PathSafety::contains("/a/b", "/a/b"));
    EXPECT_TRUE(PathSafety::contains("/a/b/", "/a/b"));
    EXPECT_TRUE(PathSafety::contains("/a/b", "/a/b/c/d.txt"));
    EXPECT_TRUE(PathSafety::contains("/", "/anything"));
    EXPECT_FALSE(PathSafety::contains("/a/b", "/a/bc"));
    EXPECT_FALSE(PathSafety::contains("/a/bc", "/a/b"));
    EXPECT_FALSE(PathSafety::contains("/a/b", "/a"));
    EXPECT_FALSE(PathSafety::contains("/a/B", "/a/b/c"));
    EXPECT_FALSE(PathSafety::contains("", "/a/b"));
    EXPECT_TRUE(PathSafety::contains("a", "a/b"));
    EXPECT_FALSE(PathSafety::contains("a", "ab/c"));
    EXPECT_FALSE(PathSafety::contains("/", "a"));
    EXPECT_FALSE(PathSafety::contains("/a", ""));
    // ".." is resolved before comparing, so it cannot climb out of a root.
    EXPECT_FALSE(PathSafety::contains("/a/b", "/a/b/../c"));
    EXPECT_TRUE(PathSafety::contains("/a/b", "/a/x/../b/c"));
}

TEST(PathSafetyTest, ValidNameLimitsAndForbiddenCharacters) {
    EXPECT_TRUE(PathSafety::validName("report.pdf"));
    EXPECT_TRUE(PathSafety::validName(".hidden"));
    EXPECT_TRUE(PathSafety::validName("..."));
    EXPECT_TRUE(PathSafety::validName(std::string(255, 'a')));
    EXPECT_FALSE(PathSafety::validName(std::string(256, 'a')));
    // "đ" is two bytes in UTF-8: 127 of them and one ASCII letter make 255 bytes.
    std::string multibyte;
    for (int i = 0; i < 127; ++i) multibyte += "\xC4\x91";
    EXPECT_TRUE(PathSafety::validName(multibyte + "a"));
    EXPECT_FALSE(PathSafety::validName(multibyte + "ab"));

    EXPECT_FALSE(PathSafety::validName(""));
    EXPECT_FALSE(PathSafety::validName("."));
    EXPECT_FALSE(PathSafety::validName(".."));
    EXPECT_FALSE(PathSafety::validName("a/b"));
    EXPECT_FALSE(PathSafety::validName("/"));
    EXPECT_FALSE(PathSafety::validName("a:b"));
    EXPECT_FALSE(PathSafety::validName(std::string("a\0b", 3)));
}

TEST(PathSafetyTest, IgnoredSystemFiles) {
    for (const char* name : {".DS_Store", "Icon\r", "Icon\rextra", "ICON\r", "icon-set\r", "Thumbs.db", "THUMBS.DB",
                             "desktop.ini", "Desktop.INI"})
        EXPECT_TRUE(PathSafety::isIgnoredSystemFile(name)) << name;
    for (const char* name : {"Icon", "Icon.png", "icons.zip", "x\rIcon", ".ds_store", "DS_Store", "Thumbs.db.bak",
                             "my desktop.ini", "report.pdf"})
        EXPECT_FALSE(PathSafety::isIgnoredSystemFile(name)) << name;
}

class SymbolicComponentsTest : public ::testing::Test {
protected:
    TempDir dir;
    std::string message(const fs::path& prefix) {
        return "Symbolic links are outside Kelo's safe operation scope: " + prefix.native();
    }
    // The message noSymbolicComponents throws for `path`, or "" when it passes.
    std::string refusal(const fs::path& path) {
        return testing::refusalOf([&] { PathSafety::noSymbolicComponents(path); });
    }
};

TEST_F(SymbolicComponentsTest, PlainPathsAndMissingTailsPass) {
    writeFile(dir / "inbox/a.txt", "x");
    EXPECT_EQ(refusal(dir / "inbox/a.txt"), "");
    EXPECT_EQ(refusal(dir / "inbox/not/yet/there.txt"), "");
    EXPECT_EQ(refusal("/"), "");
}

TEST_F(SymbolicComponentsTest, LinkAnywhereIsRefusedWithItsPrefix) {
    fs::create_directories(dir / "real/sub");
    writeFile(dir / "real/file.txt", "x");
    fs::create_directory_symlink(dir / "real", dir / "link");
    fs::create_symlink(dir / "real/file.txt", dir / "real/file-link.txt");
    fs::create_symlink(dir / "nowhere", dir / "real/dangling");

    // A parent folder that is a link, even one pointing inside the same root.
    EXPECT_EQ(refusal(dir / "link/sub/new.txt"), message(dir / "link"));
    // The final component is checked too, and a dangling link is still a link.
    EXPECT_EQ(refusal(dir / "real/file-link.txt"), message(dir / "real/file-link.txt"));
    EXPECT_EQ(refusal(dir / "real/dangling"), message(dir / "real/dangling"));
    // The path is standardized first: the message names the link, not the spelling.
    EXPECT_EQ(refusal((dir / "real/../link/./sub/").native()), message(dir / "link"));
    // "link/.." is the link target's parent to the kernel, not `dir`: refused,
    // although the standardized path has no link in it.
    EXPECT_EQ(refusal(dir / "link/../real/file.txt"), message(dir / "link"));
    EXPECT_EQ(refusal(dir / "real/sub/../file.txt"), "");
}

TEST_F(SymbolicComponentsTest, FolderReplacedByLinkAfterwardsIsRefused) {
    fs::create_directories(dir / "projects/job");
    fs::create_directories(dir / "elsewhere");
    const auto destination = dir / "projects/job/file.txt";
    EXPECT_EQ(refusal(destination), "");
    fs::rename(dir / "projects/job", dir / "projects/job-old");
    fs::create_directory_symlink(dir / "elsewhere", dir / "projects/job");
    EXPECT_EQ(refusal(destination), message(dir / "projects/job"));
}

}  // namespace
}  // namespace kelo
