// What a scan records: the metadata of one file, and the scanner's listing of the
// inboxes, with what it refuses and reports.
#include "scan/file_scanner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "model/kelo_error.h"
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

std::string refusal(const fs::path& path) {
    return testing::refusalOf([&] { Metadata::identity(path); });
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
        EXPECT_EQ(refusal(dir / name), std::string("Source is missing, symbolic, or not a regular file: ") + name);
    EXPECT_THROW(Metadata::record(dir / "link.txt", dir.path()), KeloError);
}

// The type comes from the whole name, so no shortcut by extension may merge these:
// case matters to some globs, some types span two extensions, and a name GIO
// cannot place has none.
TEST(MetadataTest, RecordCarriesSourceCreationAndATypeFromTheWholeName) {
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
        EXPECT_EQ(record.url, dir / name);
        EXPECT_EQ(record.sourceFolder, dir.path());
        EXPECT_GE(record.created, before);
        EXPECT_LE(record.created, Date::now().adding(5));
    }
}

}  // namespace
}  // namespace kelo
