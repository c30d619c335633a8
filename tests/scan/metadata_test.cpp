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

    const FileIdentity identity = Metadata::identity(dir / "x.pdf");
    EXPECT_EQ(identity.device, static_cast<std::uint64_t>(info.st_dev));
    EXPECT_EQ(identity.inode, static_cast<std::uint64_t>(info.st_ino));
    EXPECT_EQ(identity.size, 5u);
    EXPECT_EQ(identity.modified, Date::fromUnix(1700000000.25));
    EXPECT_EQ(Metadata::identity(dir / "x.pdf"), identity);
}

TEST(MetadataTest, LinksFoldersAndSpecialFilesAreRefusedByName) {
    TempDir dir;
    writeFile(dir / "real.txt", "x");
    fs::create_symlink(dir / "real.txt", dir / "link.txt");
    fs::create_directory(dir / "folder.pdf");
    ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
    const std::string prefix = "Source is missing, symbolic, or not a regular file: ";
    EXPECT_EQ(refusal(dir / "link.txt"), prefix + "link.txt");
    EXPECT_EQ(refusal(dir / "folder.pdf"), prefix + "folder.pdf");
    EXPECT_EQ(refusal(dir / "pipe"), prefix + "pipe");
    EXPECT_THROW(Metadata::record(dir / "link.txt", dir.path()), KeloError);
}

TEST(MetadataTest, MissingFilePassesTheSystemErrorOn) {
    TempDir dir;
    EXPECT_EQ(testing::systemErrorOf([&] { Metadata::identity(dir / "gone.pdf"); }), ENOENT);
}

TEST(MetadataTest, RecordCarriesSourceCreationAndContentType) {
    TempDir dir;
    writeFile(dir / "brief.pdf", "%PDF");
    writeFile(dir / "notes", "plain words");
    const Date before = Date::now().adding(-5);
    const FileRecord pdf = Metadata::record(dir / "brief.pdf", dir.path());
    EXPECT_EQ(pdf.url, dir / "brief.pdf");
    EXPECT_EQ(pdf.sourceFolder, dir.path());
    EXPECT_EQ(pdf.contentType, "application/pdf");
    EXPECT_GE(pdf.created, before);
    EXPECT_LE(pdf.created, Date::now().adding(5));
    // The type comes from the name alone; a name GIO cannot place has none.
    EXPECT_EQ(Metadata::record(dir / "notes", dir.path()).contentType, std::nullopt);
}

}  // namespace
}  // namespace kelo
