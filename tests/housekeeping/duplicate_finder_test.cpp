// The duplicate finder on real files: what counts as a group and how it is named,
// the fast search agreeing with the plain one on a generated tree, every guard
// against a file swapped or changed underneath, cancellation, and the engine's
// commands (the search leaves the engine free; trashing re-checks the copies).
#include <gtest/gtest.h>
#include <openssl/sha.h>
#include <unistd.h>

#include <future>
#include <random>

#include "engine/duplicate_commands.h"
#include "housekeeping/compared_file.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::writeFile;
using testing::refusalOf;

FileRecord recordOf(const fs::path& path) {
    return Metadata::record(path, path.parent_path());
}

std::vector<FileRecord> recordsUnder(const fs::path& root) {
    std::vector<FileRecord> records;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file()) records.push_back(recordOf(entry.path()));
    return records;
}

std::string sha256Hex(const std::string& bytes) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest);
    std::string hex;
    for (unsigned char c : digest) hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
    return hex;
}

class DuplicateFinderTest : public ::testing::Test {
protected:
    testing::TempDir dir;
    void TearDown() override { ComparedFile::setBeforeOpenForTesting({}); }
};

TEST_F(DuplicateFinderTest, GroupsIdenticalFilesOnlyAndNamesThemByDigest) {
    const std::string logo(3 * DuplicateFinder::kChunkSize + 17, 'L');
    writeFile(dir / "logo.png", logo);
    writeFile(dir / "Export/logo copy.png", logo);
    writeFile(dir / "Export/logo final.png", logo);
    writeFile(dir / "empty-1.txt", "");
    writeFile(dir / "Export/empty-2.txt", "");
    writeFile(dir / "a.txt", "same size, other text A");
    writeFile(dir / "b.txt", "same size, other text B");
    ASSERT_EQ(::link((dir / "a.txt").c_str(), (dir / "a-link.txt").c_str()), 0);  // the same file twice

    for (const auto& found : {DuplicateFinder::groups(recordsUnder(dir.path())),
                              DuplicateFinder::plainGroups(recordsUnder(dir.path()))}) {
        ASSERT_EQ(found.size(), 2u);
        const std::map<std::string, const FileGroup*> byId{{found[0].id, &found[0]}, {found[1].id, &found[1]}};
        const FileGroup& logos = *byId.at(sha256Hex(logo) + "-0");
        EXPECT_EQ(logos.title, "3 tệp giống hệt");
        std::vector<std::string> logoNames;
        for (const auto& file : logos.files) logoNames.push_back(file.filename());
        EXPECT_EQ(logoNames, (std::vector<std::string>{"logo copy.png", "logo final.png", "logo.png"}));
        EXPECT_EQ(byId.at(sha256Hex("") + "-0")->title, "2 tệp giống hệt");
        EXPECT_LT(found[0].id, found[1].id);
    }
}

// Sizes, near-copies that part in the first, a middle or the last byte, files
// over several chunks and a crowd of same-size files: the fast search must find
// exactly what the plain one finds.
TEST_F(DuplicateFinderTest, FastSearchFindsExactlyWhatThePlainSearchFinds) {
    std::mt19937_64 random(42);
    auto bytes = [&](std::size_t size) {
        std::string text(size, '\0');
        for (auto& c : text) c = static_cast<char>(random());
        return text;
    };
    const std::size_t sizes[] = {0, 1, 4095, 4096, 8192, 8193, 70'000, DuplicateFinder::kChunkSize,
                                 DuplicateFinder::kChunkSize * 2 + 5};
    int n = 0;
    for (std::size_t size : sizes) {
        const std::string original = bytes(size);
        for (int copy = 0; copy < 3; ++copy) writeFile(dir / ("f" + std::to_string(n++)), original);
        for (std::size_t at : {std::size_t{0}, size / 2, size - 1}) {
            if (size == 0) break;
            std::string near = original;
            near[at] = static_cast<char>(near[at] ^ 1);
            writeFile(dir / ("f" + std::to_string(n++)), near);
            writeFile(dir / ("f" + std::to_string(n++)), near);  // a second group of the same size
        }
        writeFile(dir / ("f" + std::to_string(n++)), bytes(size));
    }
    for (int i = 0; i < 40; ++i) writeFile(dir / ("crowd" + std::to_string(i)), std::string(5000, char('a' + i % 7)));

    std::uint64_t lastDone = 0, lastTotal = 0;
    const auto fast = DuplicateFinder::groups(recordsUnder(dir.path()), {}, [&](std::uint64_t done, std::uint64_t total) {
        EXPECT_GE(done, lastDone);
        lastDone = done, lastTotal = total;
    });
    EXPECT_EQ(fast, DuplicateFinder::plainGroups(recordsUnder(dir.path())));
    // The tree really holds groups of every kind: the empty files; for one byte the
    // copies and the six near-copies (all the same flip); for the 7 larger sizes the
    // copies and three pairs of near-copies; and the crowd's 7 contents.
    EXPECT_EQ(fast.size(), 1u + 2 + 7 * 4 + 7);
    EXPECT_EQ(lastDone, lastTotal);
}

TEST_F(DuplicateFinderTest, FilesChangedOrSwappedUnderneathFailTheSearch) {
    const std::string big(2 * DuplicateFinder::kChunkSize, 'x');
    writeFile(dir / "a.psd", big);
    writeFile(dir / "b.psd", big);
    const auto records = recordsUnder(dir.path());

    // Touched after listing.
    writeFile(dir / "b.psd", big + "more");
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::groups(records); }), kFileChangedBeforeComparing);
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::digest(records[0].filename() == "b.psd" ? records[0] : records[1]); }),
              kFileChangedBeforeComparing);
    writeFile(dir / "b.psd", big);
    const auto fresh = recordsUnder(dir.path());

    // Swapped between the check and the open: same path, another file.
    ComparedFile::setBeforeOpenForTesting([&](const fs::path& path) {
        if (path.filename() != "b.psd") return;
        writeFile(dir / "swap", big);
        fs::rename(dir / "swap", path);
    });
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::groups(fresh); }), kFileReplacedWhileComparing);
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::identical(fresh[0], fresh[1]); }), kFileChangedBeforeComparing);
    ComparedFile::setBeforeOpenForTesting({});

    // Edited while it is read: the first progress report comes after the first chunk.
    const auto current = recordsUnder(dir.path());
    bool edited = false;
    EXPECT_EQ(refusalOf([&] {
                  DuplicateFinder::groups(current, {}, [&](std::uint64_t, std::uint64_t) {
                      if (!edited) writeFile(dir / "a.psd", std::string(big.size(), 'y')), edited = true;
                  });
              }),
              kFileChangedWhileComparing);
}

TEST_F(DuplicateFinderTest, CancellingEndsTheSearchWithoutAResult) {
    for (int i = 0; i < 6; ++i) writeFile(dir / ("copy" + std::to_string(i)), std::string(3 * DuplicateFinder::kChunkSize, 'c'));
    std::stop_source stop;
    EXPECT_THROW(DuplicateFinder::groups(recordsUnder(dir.path()), stop.get_token(),
                                         [&](std::uint64_t, std::uint64_t) { stop.request_stop(); }),
                 DuplicateSearchCancelled);
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(DuplicateFinder::plainGroups(recordsUnder(dir.path()), stopped.get_token()), DuplicateSearchCancelled);
}

class DuplicateCommandsTest : public testing::EngineFixture {
protected:
    fs::path project = home / "Lotus Spa";
    void SetUp() override {
        makeFolders({"Lotus Spa/Export"});
        writeFile(project / "cover.psd", std::string(2 * DuplicateFinder::kChunkSize, 'p'));
        writeFile(project / "Export/cover copy.psd", std::string(2 * DuplicateFinder::kChunkSize, 'p'));
        writeFile(project / "Export/cover other.psd", std::string(2 * DuplicateFinder::kChunkSize, 'q'));
    }
};

TEST_F(DuplicateCommandsTest, TheSearchRunsBesideTheEngine) {
    startWithFolders(false).reset();
    EngineWorker worker(data, [this] { return clockNow; });
    worker.scan().get();

    // The search waits inside its first progress report until the engine has
    // answered another command, so it passes only if the engine is free meanwhile.
    std::promise<void> engineAnswered;
    auto answered = engineAnswered.get_future().share();
    auto search = DuplicateSearch::start(worker, "Lotus Spa", std::nullopt, {},
                                         [answered](std::uint64_t, std::uint64_t) { answered.wait(); });
    EXPECT_FALSE(worker.snapshot().get()->state->projects.empty());
    engineAnswered.set_value();
    const auto groups = search.get();
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(DuplicateCommands::summary(groups), "1 nhóm giống hệt. Chọn bản giữ trước khi bỏ bản thừa.");
    EXPECT_EQ(DuplicateCommands::summary({}), kNoDuplicates);

    EXPECT_EQ(refusalOf([&] { DuplicateSearch::start(worker, "Nobody", std::nullopt, {}).get(); }),
              kChooseProjectBeforeSearching);
    EXPECT_EQ(refusalOf([&] { DuplicateSearch::start(worker, "Lotus Spa", dir.path(), {}).get(); }),
              kApproveProjectBeforeComparing);
    const auto inExport = DuplicateSearch::start(worker, "Lotus Spa", fs::path("Export"), {}).get();
    EXPECT_TRUE(inExport.empty());
}

TEST_F(DuplicateCommandsTest, TrashingACopyRechecksItAgainstTheKeptOne) {
    auto engine = startWithFolders(false);
    const auto cover = recordOf(project / "cover.psd");
    const auto copy = recordOf(project / "Export/cover copy.psd");
    const auto other = recordOf(project / "Export/cover other.psd");

    EXPECT_EQ(refusal([&] { DuplicateCommands::trashDuplicate(*engine, cover, cover); }), kKeepingTheChosenCopy);
    EXPECT_EQ(refusal([&] { DuplicateCommands::trashDuplicate(*engine, other, cover); }), kNoLongerIdentical);
    EXPECT_TRUE(fs::exists(other.url));

    const auto snapshot = DuplicateCommands::trashDuplicate(*engine, copy, cover);
    EXPECT_FALSE(fs::exists(copy.url));
    EXPECT_TRUE(fs::exists(cover.url));
    EXPECT_EQ(testing::readFile(trashHome / "Trash/files/cover copy.psd"), std::string(2 * DuplicateFinder::kChunkSize, 'p'));
    EXPECT_TRUE(engine->lastTrashed().has_value());
    EXPECT_FALSE(snapshot->messages.empty());
}

}  // namespace
}  // namespace kelo
