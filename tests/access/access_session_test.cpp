#include "access/access_session.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "access/folder_access_manager.h"
#include "access/folder_bookmark.h"
#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

using Paths = std::vector<fs::path>;
using Lines = std::vector<std::string>;

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
    const FolderGrant grant =
        FolderAccessManager::grant(dir.path().native() + "/./Downloads/", FolderGrant::Role::watch, old);
    EXPECT_EQ(grant.id, old);
    EXPECT_EQ(grant.displayPath, (dir / "Downloads").native());
    EXPECT_EQ(FolderBookmark::decode(grant.bookmark), FolderBookmark::make(dir / "Downloads"));
    EXPECT_NE(FolderAccessManager::grant(dir / "Downloads", FolderGrant::Role::watch).id, old);
}

TEST(AccessSessionTest, UsableFoldersFormTheScopeInGrantOrder) {
    TempDir dir;
    for (const char* name : {"Desktop", "Downloads", "Work", "Clients"}) fs::create_directories(dir / name);
    AccessSession session({FolderAccessManager::grant(dir / "Downloads", FolderGrant::Role::watch),
                           FolderAccessManager::grant(dir / "Work", FolderGrant::Role::projectHome),
                           FolderAccessManager::grant(dir / "Desktop", FolderGrant::Role::watch),
                           FolderAccessManager::grant(dir / "Clients", FolderGrant::Role::projectHome)});
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
    auto deleted = FolderAccessManager::grant(dir / "Deleted", FolderGrant::Role::watch);
    auto linked = FolderAccessManager::grant(dir / "Linked", FolderGrant::Role::watch);
    auto filed = FolderAccessManager::grant(dir / "Filed", FolderGrant::Role::projectHome);
    auto fine = FolderAccessManager::grant(dir / "Fine", FolderGrant::Role::projectHome);
    FolderGrant garbage{Uuid::random(), Bytes{1, 2, 3}, "~/Lost", FolderGrant::Role::watch};
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
        (Lines{(dir / "Deleted").native() + ": No such file or directory",
               "Symbolic links are outside Kelo's safe operation scope: " + (dir / "Linked").native(),
               "The saved reference to this folder cannot be read. Reconnect ~/Lost.", "Folder unavailable: ~/Filed"}));
    EXPECT_TRUE(session.refreshed().empty());
}

TEST(AccessSessionTest, FolderReplacedAtItsPathIsUsableAndItsGrantRenewed) {
    TempDir dir;
    fs::create_directories(dir / "Inbox");
    const auto grant = FolderAccessManager::grant(dir / "Inbox", FolderGrant::Role::watch);
    fs::rename(dir / "Inbox", dir / "Inbox-old");
    fs::create_directories(dir / "Inbox");  // while the old one exists: a new inode

    AccessSession session({grant});
    EXPECT_EQ(session.errors(), Lines{});
    EXPECT_EQ(session.scope().watched, Paths{dir / "Inbox"});
    ASSERT_EQ(session.refreshed().size(), 1u);
    const FolderGrant& renewed = session.refreshed()[0];
    EXPECT_EQ(renewed.id, grant.id);
    EXPECT_EQ(renewed.displayPath, grant.displayPath);
    EXPECT_EQ(renewed.role, grant.role);
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
    auto grant = FolderAccessManager::grant(dir / "Locked", FolderGrant::Role::watch);
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
