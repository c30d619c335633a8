// Path safety: standard keys, containment (and the access scope built on it),
// valid names, ignored system files, and links anywhere on a path.
#include "access/path_safety.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "access/access_scope.h"
#include "model/kelo_error.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

TEST(PathSafetyTest, KeyIsTheStandardizedPath) {
    // Paths already in standard form come back unchanged; any other spelling is normalized.
    const std::pair<const char*, const char*> cases[] = {
        {"/a/b/", "/a/b"}, {"/a/./b//c/../d", "/a/b/d"}, {"/", "/"},   {"/a/..", "/"},    {"/a/b/.", "/a/b"},
        {"a//b", "a/b"},   {"a/b.c/..d", "a/b.c/..d"},   {"./a", "a"}, {"a/../..", ".."}, {"//", "/"},
    };
    for (const auto& [path, key] : cases) EXPECT_EQ(PathSafety::key(path), key) << path;
}

TEST(PathSafetyTest, ContainsByWholeCaseSensitiveComponents) {
    const struct {
        const char *root, *path;
        bool contained;
    } cases[] = {
        {"/a/b", "/a/b", true},
        {"/a/b/", "/a/b", true},
        {"/a/b", "/a/b/c/d.txt", true},
        {"/", "/anything", true},
        {"/a/b", "/a/bc", false},
        {"/a/bc", "/a/b", false},
        {"/a/b", "/a", false},
        {"/a/B", "/a/b/c", false},
        {"", "/a/b", false},
        {"a", "a/b", true},
        {"a", "ab/c", false},
        {"/", "a", false},
        {"/a", "", false},
        // ".." is resolved before comparing, so it cannot climb out of a root.
        {"/a/b", "/a/b/../c", false},
        {"/a/b", "/a/x/../b/c", true},
    };
    for (const auto& c : cases) EXPECT_EQ(PathSafety::contains(c.root, c.path), c.contained) << c.root << " " << c.path;
}

// Containment itself is proven with PathSafety::contains; this is that both lists count.
TEST(AccessScopeTest, AllowsOnlyInsideWatchedFoldersAndHomes) {
    AccessScope scope{{"/home/u/Downloads"}, {"/home/u/Projects/"}};
    EXPECT_TRUE(scope.allows("/home/u/Downloads/sub/a.pdf"));
    EXPECT_TRUE(scope.allows("/home/u/Projects/Job/Working/a.psd"));
    EXPECT_FALSE(scope.allows("/home/u/Downloads2/a.pdf"));
    EXPECT_FALSE(scope.allows("/home/u"));
    EXPECT_FALSE(AccessScope{}.allows("/"));
}

TEST(PathSafetyTest, ValidNameLimitsAndForbiddenCharacters) {
    // "đ" is two bytes in UTF-8: 127 of them and one ASCII letter make 255 bytes.
    std::string multibyte;
    for (int i = 0; i < 127; ++i) multibyte += "\xC4\x91";
    for (const std::string& name : {std::string("report.pdf"), std::string(".hidden"), std::string("..."),
                                    std::string(255, 'a'), multibyte + "a"})
        EXPECT_TRUE(PathSafety::validName(name)) << name;
    for (const std::string& name :
         {std::string(256, 'a'), multibyte + "ab", std::string(""), std::string("."), std::string(".."),
          std::string("a/b"), std::string("/"), std::string("a:b"), std::string("a\0b", 3)})
        EXPECT_FALSE(PathSafety::validName(name)) << name;
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

TEST_F(SymbolicComponentsTest, LinkAnywhereIsRefusedWithItsPrefix) {
    fs::create_directories(dir / "real/sub");
    writeFile(dir / "real/file.txt", "x");
    // Plain paths pass, even with a tail that does not exist yet.
    EXPECT_EQ(refusal(dir / "real/file.txt"), "");
    EXPECT_EQ(refusal(dir / "real/not/yet/there.txt"), "");
    EXPECT_EQ(refusal("/"), "");
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
