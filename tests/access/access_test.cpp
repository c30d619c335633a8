// Folder access: path safety (standard keys, containment and the scope built on it,
// valid names, ignored system files, links anywhere on a path), the saved folder
// references, and the session that turns grants into the folders Kelo may use.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "access/access_scope.h"
#include "access/access_session.h"
#include "access/folder_access_manager.h"
#include "access/folder_bookmark.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

using Paths = std::vector<fs::path>;
using Lines = std::vector<std::string>;
using Role = FolderGrant::Role;

// What a link on the way refuses with: the path up to the link.
std::string linkMessage(const fs::path& prefix) {
    return "Symbolic links are outside Kelo's safe operation scope: " + prefix.native();
}

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

// The message noSymbolicComponents throws for `path`, or "" when it passes.
std::string refusal(const fs::path& path) {
    return testing::refusalOf([&] { PathSafety::noSymbolicComponents(path); });
}

TEST(SymbolicComponentsTest, LinkAnywhereIsRefusedWithItsPrefix) {
    TempDir dir;
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
    EXPECT_EQ(refusal(dir / "link/sub/new.txt"), linkMessage(dir / "link"));
    // The final component is checked too, and a dangling link is still a link.
    EXPECT_EQ(refusal(dir / "real/file-link.txt"), linkMessage(dir / "real/file-link.txt"));
    EXPECT_EQ(refusal(dir / "real/dangling"), linkMessage(dir / "real/dangling"));
    // The path is standardized first: the message names the link, not the spelling.
    EXPECT_EQ(refusal((dir / "real/../link/./sub/").native()), linkMessage(dir / "link"));
    // "link/.." is the link target's parent to the kernel, not `dir`: refused,
    // although the standardized path has no link in it.
    EXPECT_EQ(refusal(dir / "link/../real/file.txt"), linkMessage(dir / "link"));
    EXPECT_EQ(refusal(dir / "real/sub/../file.txt"), "");
}

TEST(SymbolicComponentsTest, FolderReplacedByLinkAfterwardsIsRefused) {
    TempDir dir;
    fs::create_directories(dir / "projects/job");
    fs::create_directories(dir / "elsewhere");
    const auto destination = dir / "projects/job/file.txt";
    EXPECT_EQ(refusal(destination), "");
    fs::rename(dir / "projects/job", dir / "projects/job-old");
    fs::create_directory_symlink(dir / "elsewhere", dir / "projects/job");
    EXPECT_EQ(refusal(destination), linkMessage(dir / "projects/job"));
}

TEST(FolderBookmarkTest, RefusesFilesLinksAndForeignBytes) {
    TempDir dir;
    writeFile(dir / "file", "x");
    fs::create_directories(dir / "real");
    fs::create_directory_symlink(dir / "real", dir / "link");
    EXPECT_THROW(FolderBookmark::make(dir / "file"), KeloError);
    EXPECT_THROW(FolderBookmark::make(dir / "link"), KeloError);
    EXPECT_THROW(FolderBookmark::make(dir / "missing"), std::system_error);
    for (const std::string text :
         {"", "not json", "[]", R"({"device":1,"inode":2})", R"({"device":-1,"inode":2,"path":"file:///a"})",
          R"({"device":1,"inode":2,"path":"/a"})"})
        EXPECT_EQ(FolderBookmark::decode(Bytes(text.begin(), text.end())), std::nullopt) << text;
}

TEST(FolderAccessManagerTest, GrantKeepsTheReplacedIdAndShowsTheStandardizedPath) {
    TempDir dir;
    fs::create_directories(dir / "Downloads");
    const Uuid old = Uuid::random();
    const FolderGrant grant = FolderAccessManager::grant(dir.path().native() + "/./Downloads/", Role::watch, old);
    EXPECT_EQ(grant.id, old);
    EXPECT_EQ(grant.displayPath, (dir / "Downloads").native());
    EXPECT_EQ(FolderBookmark::decode(grant.bookmark), FolderBookmark::make(dir / "Downloads"));
    EXPECT_NE(FolderAccessManager::grant(dir / "Downloads", Role::watch).id, old);
}

TEST(AccessSessionTest, UsableFoldersFormTheScopeInGrantOrder) {
    TempDir dir;
    for (const char* name : {"Desktop", "Downloads", "Work", "Clients"}) fs::create_directories(dir / name);
    AccessSession session({FolderAccessManager::grant(dir / "Downloads", Role::watch),
                           FolderAccessManager::grant(dir / "Work", Role::projectHome),
                           FolderAccessManager::grant(dir / "Desktop", Role::watch),
                           FolderAccessManager::grant(dir / "Clients", Role::projectHome)});
    EXPECT_EQ(session.scope().watched, (Paths{dir / "Downloads", dir / "Desktop"}));
    EXPECT_EQ(session.scope().homes, (Paths{dir / "Work", dir / "Clients"}));
    EXPECT_EQ(session.errors(), Lines{});
    EXPECT_TRUE(session.refreshed().empty());
    EXPECT_EQ(session.started().size(), 4u);
    session.close();
    EXPECT_TRUE(session.started().empty());
}

TEST(AccessSessionTest, UnusableFoldersGiveOneLineEachAndTheOthersStillWork) {
    TempDir dir;
    for (const char* name : {"Deleted", "Linked", "Filed", "Fine", "Elsewhere"}) fs::create_directories(dir / name);
    const auto deleted = FolderAccessManager::grant(dir / "Deleted", Role::watch);
    const auto linked = FolderAccessManager::grant(dir / "Linked", Role::watch);
    auto filed = FolderAccessManager::grant(dir / "Filed", Role::projectHome);
    const auto fine = FolderAccessManager::grant(dir / "Fine", Role::projectHome);
    const FolderGrant garbage{Uuid::random(), Bytes{1, 2, 3}, "~/Lost", Role::watch};
    filed.displayPath = "~/Filed";

    fs::remove(dir / "Deleted");
    fs::remove(dir / "Linked");
    fs::create_directory_symlink(dir / "Elsewhere", dir / "Linked");
    fs::remove(dir / "Filed");
    writeFile(dir / "Filed", "now a file");

    AccessSession session({deleted, linked, garbage, filed, fine});
    EXPECT_EQ(session.scope().watched, Paths{});
    EXPECT_EQ(session.scope().homes, Paths{dir / "Fine"});
    EXPECT_EQ(
        session.errors(),
        (Lines{(dir / "Deleted").native() + ": No such file or directory", linkMessage(dir / "Linked"),
               "The saved reference to this folder cannot be read. Reconnect ~/Lost.", "Folder unavailable: ~/Filed"}));
    EXPECT_TRUE(session.refreshed().empty());
}

TEST(AccessSessionTest, FolderReplacedAtItsPathIsUsableAndItsGrantRenewed) {
    TempDir dir;
    fs::create_directories(dir / "Inbox");
    const auto grant = FolderAccessManager::grant(dir / "Inbox", Role::watch);
    fs::rename(dir / "Inbox", dir / "Inbox-old");
    fs::create_directories(dir / "Inbox");  // while the old one exists: a new inode

    AccessSession session({grant});
    EXPECT_EQ(session.errors(), Lines{});
    EXPECT_EQ(session.scope().watched, Paths{dir / "Inbox"});
    ASSERT_EQ(session.refreshed().size(), 1u);
    const FolderGrant& renewed = session.refreshed()[0];
    EXPECT_EQ(renewed, (FolderGrant{grant.id, renewed.bookmark, grant.displayPath, grant.role}));
    EXPECT_EQ(FolderBookmark::decode(renewed.bookmark), FolderBookmark::make(dir / "Inbox"));
    EXPECT_NE(renewed.bookmark, grant.bookmark);

    // The renewed grant is current: a second session has nothing to renew.
    AccessSession again({renewed});
    EXPECT_TRUE(again.refreshed().empty());
}

TEST(AccessSessionTest, FolderThatCannotBeReadIsUnavailable) {
    TempDir dir;
    fs::create_directories(dir / "Locked");
    // Not readable by anyone but root, so the case holds whoever runs the tests.
    ASSERT_EQ(::chmod((dir / "Locked").c_str(), 0300), 0);
    auto grant = FolderAccessManager::grant(dir / "Locked", Role::watch);
    grant.displayPath = "~/Locked";
    const std::string answer = testing::runUnprivileged([&] {
        AccessSession session({grant});
        std::string out = std::to_string(session.scope().watched.size()) + " usable";
        for (const auto& line : session.errors()) out += "\n" + line;
        return out;
    });
    EXPECT_EQ(answer, "0 usable\nFolder unavailable: ~/Locked");
}

}  // namespace
}  // namespace kelo
