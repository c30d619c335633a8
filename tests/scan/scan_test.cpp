// What a scan records: the metadata of one file, the scanner's listing of the
// inboxes, and the walk of a project folder (its inventory and its peek), with what
// each refuses and reports.
#include "scan/file_scanner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "scan/project_inventory.h"
#include "scan/project_peek.h"
#include "support/child_process.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::setModified;
using testing::TempDir;
using testing::writeFile;

std::vector<std::string> names(const ScanResult& result) {
    std::vector<std::string> out;
    for (const auto& file : result.files) out.push_back(file.url.filename().native());
    return out;
}

TEST(FileScannerTest, ListsOnlyTopLevelRegularVisibleFilesSortedByPath) {
    TempDir dir;
    const auto inbox = dir / "Downloads";
    for (const char* name : {"b.pdf", "a.png", "C.txt", ".hidden.pdf", ".DS_Store", "Thumbs.db", "Icon\r",
                             "sub/inside.pdf", "Tool.app/Contents/Info.plist"})
        writeFile(inbox / name, name);
    fs::create_symlink(inbox / "b.pdf", inbox / "link-to-b.pdf");
    ASSERT_EQ(::mkfifo((inbox / "pipe").c_str(), 0600), 0);

    const ScanResult result = FileScanner::scan({inbox});
    EXPECT_EQ(result.errors, std::vector<std::string>{});
    EXPECT_EQ(names(result), (std::vector<std::string>{"C.txt", "a.png", "b.pdf"}));
    for (const auto& file : result.files) EXPECT_EQ(file.sourceFolder, inbox);
}

// Names that are prefixes of one another, and bytes above 0x7f, are where a
// comparison by C string or by signed char goes wrong; several roots sort as one list.
TEST(FileScannerTest, RecordsOfEveryRootSortInPlainByteOrder) {
    TempDir dir;
    for (const char* name : {"\xc3\xa9t\xc3\xa9.pdf", "a.pdf", "a", "Z.pdf", "a b.pdf", "a.pdf.zip"})
        writeFile(dir / "z" / name, "x");
    writeFile(dir / "a/z.txt", "x");
    const ScanResult result = FileScanner::scan({dir / "z", dir / "a/"});
    EXPECT_EQ(names(result), (std::vector<std::string>{"z.txt", "Z.pdf", "a", "a b.pdf", "a.pdf", "a.pdf.zip",
                                                       "\xc3\xa9t\xc3\xa9.pdf"}));
    EXPECT_EQ(result.files[0].sourceFolder, dir / "a");
    EXPECT_EQ(result.files[1].contentType, "application/pdf") << "records carry their metadata";
}

TEST(FileScannerTest, UnreadableRootsBecomeOneLineEachAndOthersAreStillScanned) {
    TempDir dir;
    writeFile(dir / "real/a.txt", "a");
    writeFile(dir / "good/g.txt", "g");
    writeFile(dir / "plain-file", "f");
    fs::create_directory_symlink(dir / "real", dir / "linked");

    const ScanResult result =
        FileScanner::scan({dir / "linked", dir / "linked/../good", dir / "missing", dir / "plain-file", dir / "good"});
    EXPECT_EQ(names(result), std::vector<std::string>{"g.txt"});
    EXPECT_EQ(result.errors, (std::vector<std::string>{
                                 "Symbolic links are outside Kelo's safe operation scope: " + (dir / "linked").native(),
                                 "Symbolic links are outside Kelo's safe operation scope: " + (dir / "linked").native(),
                                 (dir / "missing").native() + ": No such file or directory",
                                 (dir / "plain-file").native() + ": Not a directory",
                             }));
}

// An entry that can be listed but not read becomes its own line. Run as an
// unprivileged user: a folder that may be listed (r) but not searched (no x).
TEST(FileScannerTest, UnreadableEntryBecomesALineNotARecord) {
    TempDir dir;
    writeFile(dir / "in/a.txt", "a");
    writeFile(dir / "in/b.txt", "b");
    ASSERT_EQ(::chmod((dir / "in").c_str(), 0444), 0);
    const std::string answer = testing::runUnprivileged([&] {
        const ScanResult result = FileScanner::scan({dir / "in"});
        std::string out = std::to_string(result.files.size()) + " files\n";
        std::vector<std::string> errors = result.errors;
        std::sort(errors.begin(), errors.end());
        for (const auto& line : errors) out += line + "\n";
        return out;
    });
    EXPECT_EQ(answer, "0 files\n" + (dir / "in/a.txt").native() + ": Permission denied\n" +
                          (dir / "in/b.txt").native() + ": Permission denied\n");
}

// A folder on the way that others may pass through but not list (0711, as some
// home folders are) must not stop the scan: only the inbox itself is listed.
TEST(FileScannerTest, ParentThatMayOnlyBeSearchedDoesNotStopTheScan) {
    TempDir dir;
    writeFile(dir / "home/in/a.txt", "a");
    ASSERT_EQ(::chmod((dir / "home").c_str(), 0711), 0);
    const std::string answer = testing::runUnprivileged([&] {
        const ScanResult result = FileScanner::scan({dir / "home/in"});
        return std::to_string(result.files.size()) + " files, " + std::to_string(result.errors.size()) + " errors";
    });
    EXPECT_EQ(answer, "1 files, 0 errors");
}

TEST(MetadataTest, IdentityIsDeviceInodeSizeAndModified) {
    TempDir dir;
    writeFile(dir / "x.pdf", "12345");
    setModified(dir / "x.pdf", 1700000000, 250000000);
    struct stat info {};
    ASSERT_EQ(::stat((dir / "x.pdf").c_str(), &info), 0);
    EXPECT_EQ(Metadata::identity(dir / "x.pdf"),
              (FileIdentity{static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino), 5,
                            Date::fromUnix(1700000000.25)}));
    EXPECT_EQ(testing::systemErrorOf([&] { Metadata::identity(dir / "gone.pdf"); }), ENOENT);
}

TEST(MetadataTest, LinksFoldersAndSpecialFilesAreRefusedByName) {
    TempDir dir;
    writeFile(dir / "real.txt", "x");
    fs::create_symlink(dir / "real.txt", dir / "link.txt");
    fs::create_directory(dir / "folder.pdf");
    ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
    for (const char* name : {"link.txt", "folder.pdf", "pipe"})
        EXPECT_EQ(testing::refusalOf([&] { Metadata::identity(dir / name); }),
                  std::string("Source is missing, symbolic, or not a regular file: ") + name);
    EXPECT_THROW(Metadata::record(dir / "link.txt", dir.path()), KeloError);
}

// The type comes from the whole name, so no shortcut by extension may merge these:
// case matters to some globs, some types span two extensions, and a name GIO
// cannot place has none.
TEST(MetadataTest, RecordCarriesCreationAndATypeFromTheWholeName) {
    TempDir dir;
    const Date before = Date::now().adding(-5);
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"main.c", "text/x-csrc"},
        {"main.C", "text/x-c++src"},
        {"REPORT.PDF", "application/pdf"},
        {"backup.tar.gz", "application/x-compressed-tar"},
        {"backup.gz", "application/gzip"},
        {"Makefile", "text/x-makefile"},
        {"notes", std::nullopt}};
    for (const auto& [name, type] : cases) {
        writeFile(dir / name, "x");
        const FileRecord record = Metadata::record(dir / name, dir.path());
        EXPECT_EQ(record.contentType, type) << name;
        EXPECT_GE(record.created, before);
        EXPECT_LE(record.created, Date::now().adding(5));
    }
}

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
    EXPECT_EQ(inventory.entries[4], (ProjectEntry{"Export/Social/post-1.png", false, 3,
                                                  Metadata::identity(job / "Export/Social/post-1.png")}));
    EXPECT_EQ(inventory.entries[2], (ProjectEntry{"Export", true, 1, inventory.entries[2].identity}));
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
    EXPECT_EQ((std::tuple{peek.fileCount, peek.folderCount, peek.totalBytes, peek.lastModified}),
              (std::tuple{11u, 1u, 45u, Date::fromTimespec(1700000009, 0)}));
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
    for (int i = 0; i < 9'999; ++i) writeFile(job / "Assets" / std::to_string(i), "");
    EXPECT_EQ(ProjectInventory::read(job).entries.size(), 10'000u);

    writeFile(job / "one-more.txt", "x");
    const std::string limit = "Project exceeds the 10,000-entry inventory limit. No partial handoff was prepared.";
    EXPECT_EQ(refusals(job), limit + "|" + limit);
}

}  // namespace
}  // namespace kelo
