#include "scan/project_inventory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "scan/project_peek.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::setModified;
using testing::TempDir;
using testing::writeFile;

const std::string kHandoffPrefix = "Review this unsupported link or package before handoff: ";
const std::string kStudioPrefix = "Unsupported project entry: ";

// The refusals of both readers of `folder`, joined by "|"; "" for each that passes.
std::string refusals(const fs::path& folder) {
    return testing::refusalOf([&] { ProjectInventory::read(folder); }) + "|" +
           testing::refusalOf([&] { ProjectPeek::read(folder); });
}

std::vector<std::string> relativePaths(const ProjectInventory& inventory) {
    std::vector<std::string> out;
    for (const auto& entry : inventory.entries) out.push_back(entry.relativePath.native());
    return out;
}

TEST(ProjectInventoryTest, WalksEverythingDepthFirstWithIdentities) {
    TempDir dir;
    const auto job = dir / "Job";
    writeFile(job / "Working/logo.ai", "ai-data");
    writeFile(job / "Export/Social/post-2.png", "22");
    writeFile(job / "Export/Social/post-1.png", "1");
    writeFile(job / "brief.pdf", "brief");
    writeFile(job / ".notes", "n");
    writeFile(job / "Export/.DS_Store", "litter");
    fs::create_directories(job / "Empty");

    const auto inventory = ProjectInventory::read(job.native() + "/");
    EXPECT_EQ(inventory.folder, job);
    EXPECT_EQ(relativePaths(inventory),
              (std::vector<std::string>{".notes", "Empty", "Export", "Export/Social", "Export/Social/post-1.png",
                                        "Export/Social/post-2.png", "Working", "Working/logo.ai", "brief.pdf"}));
    EXPECT_EQ(inventory.totalBytes, 1u + 0 + 1 + 2 + 7 + 5);
    const ProjectEntry& post = inventory.entries[4];
    EXPECT_FALSE(post.isFolder);
    EXPECT_EQ(post.depth, 3u);
    EXPECT_EQ(post.identity, Metadata::identity(job / "Export/Social/post-1.png"));
    EXPECT_TRUE(inventory.entries[2].isFolder);
    EXPECT_EQ(inventory.entries[2].depth, 1u);
}

TEST(ProjectInventoryTest, PeekSummarisesTheSameWalk) {
    TempDir dir;
    const auto job = dir / "Job";
    for (int i = 0; i < 10; ++i) {
        const auto file = job / "Export" / ("f" + std::to_string(i) + ".png");
        writeFile(file, std::string(static_cast<std::size_t>(i), 'x'));
        setModified(file, 1700000000 + i);
    }
    writeFile(job / "a-tie.png", "");
    setModified(job / "a-tie.png", 1700000009);

    const auto peek = ProjectPeek::read(job);
    EXPECT_EQ(peek.fileCount, 11u);
    EXPECT_EQ(peek.folderCount, 1u);
    EXPECT_EQ(peek.totalBytes, 45u);
    EXPECT_EQ(peek.lastModified, Date::fromTimespec(1700000009, 0));
    ASSERT_EQ(peek.recentFiles.size(), ProjectPeek::kRecentLimit);
    EXPECT_EQ(peek.recentFiles[0].relativePath, "Export/f9.png");
    EXPECT_EQ(peek.recentFiles[1].relativePath, "a-tie.png");
    EXPECT_EQ(peek.recentFiles[2].relativePath, "Export/f8.png");

    fs::create_directories(dir / "Empty");
    const auto empty = ProjectPeek::read(dir / "Empty");
    EXPECT_EQ(empty.fileCount, 0u);
    EXPECT_EQ(empty.lastModified, std::nullopt);
}

// Both readers refuse the same things with their own texts: a link, package or
// special file inside, and a project that is itself a package or behind a link.
TEST(ProjectInventoryTest, LinksPackagesAndSpecialFilesAreRefused) {
    TempDir dir;
    writeFile(dir / "outside.pdf", "secret");
    writeFile(dir / "A/Export/x.png", "x");
    fs::create_symlink(dir / "outside.pdf", dir / "A/Export/shortcut.pdf");
    fs::create_directories(dir / "B/Assets/Photos.photoslibrary");
    fs::create_directories(dir / "C");
    ASSERT_EQ(::mkfifo((dir / "C/pipe").c_str(), 0600), 0);
    fs::create_directories(dir / "Movie.fcpbundle/Media");
    fs::create_directory_symlink(dir / "B", dir / "Alias");
    const auto inside = [](const fs::path& entry) {
        return kHandoffPrefix + entry.native() + "|" + kStudioPrefix + entry.native();
    };
    const auto both = [](const std::string& text) { return text + "|" + text; };
    const std::string link = "Symbolic links are outside Kelo's safe operation scope: " + (dir / "Alias").native();
    const std::pair<fs::path, std::string> cases[] = {
        {dir / "A", inside(dir / "A/Export/shortcut.pdf")},
        {dir / "B", inside(dir / "B/Assets/Photos.photoslibrary")},
        {dir / "C", inside(dir / "C/pipe")},
        {dir / "Movie.fcpbundle", both("Choose an ordinary project folder, not a package.")},
        {dir / "Alias", both(link)},
        {dir / "Alias/../B", both(link)}};
    for (const auto& [project, refusal] : cases) EXPECT_EQ(refusals(project), refusal) << project;
    EXPECT_THROW(ProjectInventory::read(dir / "Missing"), std::system_error);
}

TEST(ProjectInventoryTest, TwentyFourLevelsPassTwentyFiveDoNot) {
    TempDir dir;
    fs::path deepest = dir / "Job";
    for (int level = 0; level < 24; ++level) deepest /= "d";
    fs::create_directories(deepest);
    const auto inventory = ProjectInventory::read(dir / "Job");
    ASSERT_EQ(inventory.entries.size(), 24u);
    EXPECT_EQ(inventory.entries.back().depth, 24u);

    writeFile(deepest / "too-deep.txt", "x");
    const std::string limit = "Project exceeds the 24-level inventory limit.";
    EXPECT_EQ(refusals(dir / "Job"), limit + "|" + limit);
}

TEST(ProjectInventoryTest, TenThousandEntriesPassOneMoreDoesNot) {
    TempDir dir;
    const auto job = dir / "Job";
    fs::create_directories(job / "Assets");
    for (int i = 0; i < 9'999; ++i) {
        const auto path = job / "Assets" / std::to_string(i);
        const int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        ASSERT_GE(fd, 0);
        ::close(fd);
    }
    EXPECT_EQ(ProjectInventory::read(job).entries.size(), 10'000u);

    writeFile(job / "one-more.txt", "x");
    const std::string limit = "Project exceeds the 10,000-entry inventory limit. No partial handoff was prepared.";
    EXPECT_EQ(refusals(job), limit + "|" + limit);
}

}  // namespace
}  // namespace kelo
