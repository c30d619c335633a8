#include "scan/metadata.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "model/kelo_error.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::setModified;
using testing::TempDir;
using testing::writeFile;

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
