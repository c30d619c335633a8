// Housekeeping on real files, each part with the engine's commands over it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <map>
#include <random>

#include "engine/duplicate_commands.h"
#include "engine/handoff_commands.h"
#include "engine/zip_cleanup_commands.h"
#include "housekeeping/compared_file.h"
#include "housekeeping/zip_cleanup_processor.h"
#include "model/kelo_error.h"
#include "scan/file_scanner.h"
#include "scan/metadata.h"
#include "support/child_process.h"
#include "support/engine_fixture.h"
#include "support/shell.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::refusalOf;
using testing::writeFile;

// The duplicate finder on real files: what counts as a group and how it is named,
// the fast search agreeing with the plain one on a generated tree, every guard
// against a file swapped or changed underneath, cancellation, and the engine's
// commands (the search leaves the engine free; trashing re-checks the copies).

FileRecord recordOf(const fs::path& path) {
    return Metadata::record(path, path.parent_path());
}

// The file's SHA-256 in hex, as coreutils gives it.
std::string sha256Hex(const fs::path& file) {
    return testing::runShell("sha256sum '" + file.native() + "'").output.substr(0, 64);
}

class DuplicateFinderTest : public ::testing::Test {
protected:
    testing::TempDir dir;
    void TearDown() override { ComparedFile::setBeforeOpenForTesting({}); }

    // Every file under the test's folder, as listed now.
    std::vector<FileRecord> records() const {
        std::vector<FileRecord> listed;
        for (const auto& entry : fs::recursive_directory_iterator(dir.path()))
            if (entry.is_regular_file()) listed.push_back(recordOf(entry.path()));
        return listed;
    }
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

    for (const auto& found : {DuplicateFinder::groups(records()), DuplicateFinder::plainGroups(records())}) {
        ASSERT_EQ(found.size(), 2u);
        const std::map<std::string, const FileGroup*> byId{{found[0].id, &found[0]}, {found[1].id, &found[1]}};
        const FileGroup& logos = *byId.at(sha256Hex(dir / "logo.png") + "-0");
        EXPECT_EQ(logos.title, "3 tệp giống hệt");
        std::vector<std::string> logoNames;
        for (const auto& file : logos.files) logoNames.push_back(file.filename());
        EXPECT_EQ(logoNames, (std::vector<std::string>{"logo copy.png", "logo final.png", "logo.png"}));
        EXPECT_EQ(byId.at(sha256Hex(dir / "empty-1.txt") + "-0")->title, "2 tệp giống hệt");
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
    const auto fast = DuplicateFinder::groups(records(), {}, [&](std::uint64_t done, std::uint64_t total) {
        EXPECT_GE(done, lastDone);
        lastDone = done, lastTotal = total;
    });
    EXPECT_EQ(fast, DuplicateFinder::plainGroups(records()));
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
    const auto listed = records();

    // Touched after listing.
    writeFile(dir / "b.psd", big + "more");
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::groups(listed); }), kFileChangedBeforeComparing);
    EXPECT_EQ(refusalOf([&] { DuplicateFinder::digest(listed[0].filename() == "b.psd" ? listed[0] : listed[1]); }),
              kFileChangedBeforeComparing);
    writeFile(dir / "b.psd", big);
    const auto fresh = records();

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
    const auto current = records();
    bool edited = false;
    EXPECT_EQ(refusalOf([&] {
                  DuplicateFinder::groups(current, {}, [&](std::uint64_t, std::uint64_t) {
                      if (!edited) writeFile(dir / "a.psd", std::string(big.size(), 'y')), edited = true;
                  });
              }),
              kFileChangedWhileComparing);
}

TEST_F(DuplicateFinderTest, CancellingEndsTheSearchWithoutAResult) {
    const std::string copy(3 * DuplicateFinder::kChunkSize, 'c');
    for (int i = 0; i < 6; ++i) writeFile(dir / ("copy" + std::to_string(i)), copy);
    std::stop_source stop;
    EXPECT_THROW(DuplicateFinder::groups(records(), stop.get_token(),
                                         [&](std::uint64_t, std::uint64_t) { stop.request_stop(); }),
                 DuplicateSearchCancelled);
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(DuplicateFinder::plainGroups(records(), stopped.get_token()), DuplicateSearchCancelled);
}

class DuplicateCommandsTest : public testing::EngineFixture {
protected:
    fs::path project = home / "Lotus Spa";
    const std::string cover = std::string(2 * DuplicateFinder::kChunkSize, 'p');
    void SetUp() override {
        makeFolders({"Lotus Spa/Export"});
        writeFile(project / "cover.psd", cover);
        writeFile(project / "Export/cover copy.psd", cover);
        writeFile(project / "Export/cover other.psd", std::string(cover.size(), 'q'));
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
    EXPECT_TRUE(DuplicateSearch::start(worker, "Lotus Spa", fs::path("Export"), {}).get().empty());
}

TEST_F(DuplicateCommandsTest, TrashingACopyRechecksItAgainstTheKeptOne) {
    auto engine = startWithFolders(false);
    const auto kept = recordOf(project / "cover.psd");
    const auto copy = recordOf(project / "Export/cover copy.psd");
    const auto other = recordOf(project / "Export/cover other.psd");

    EXPECT_EQ(refusal([&] { DuplicateCommands::trashDuplicate(*engine, kept, kept); }), kKeepingTheChosenCopy);
    EXPECT_EQ(refusal([&] { DuplicateCommands::trashDuplicate(*engine, other, kept); }), kNoLongerIdentical);
    EXPECT_TRUE(fs::exists(other.url));

    const auto snapshot = DuplicateCommands::trashDuplicate(*engine, copy, kept);
    EXPECT_FALSE(fs::exists(copy.url));
    EXPECT_TRUE(fs::exists(kept.url));
    EXPECT_EQ(readFile(trashHome / "Trash/files/cover copy.psd"), cover);
    EXPECT_TRUE(engine->lastTrashed().has_value());
    EXPECT_FALSE(snapshot->messages.empty());
}

// Automatic ZIP cleanup with the engine's clock moved by hand: what is there when
// the rule goes on stays forever, a new ZIP goes to the real (test) Trash only
// after a day unchanged, a replaced or changed one waits again, and the ledger's
// guards hold.

constexpr double kDay = 86'400;

class ZipCleanupTest : public testing::EngineFixture {
protected:
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        makeFolders({});
        writeFile(inbox / "present.zip", "old");
        engine = startWithFolders(false);
    }

    std::vector<std::string> switchOn() { return ZipCleanupCommands::switchOn(*engine, inbox)->messages; }
    // A scan after `hours`; returns the ZIP status.
    std::string scanAfter(double hours) {
        clockNow = clockNow.adding(hours * 3600);
        return engine->scan()->zipCleanupStatus;
    }
    bool inTrash(const std::string& name) { return fs::exists(trashHome / "Trash/files" / name); }
};

TEST_F(ZipCleanupTest, OnlyNewZipsGoAndOnlyAfterADay) {
    EXPECT_EQ(switchOn(), std::vector<std::string>{"Đã bật. Bỏ qua 1 ZIP có sẵn; chỉ ghi nhận ZIP mới từ bây giờ."});
    writeFile(inbox / "brief.zip", "new");
    writeFile(inbox / "Brief.ZIP.txt", "not a zip");
    writeFile(inbox / ".hidden.zip", "hidden");
    writeFile(inbox / "unpacked/inner.zip", "in a sub-folder");

    EXPECT_EQ(scanAfter(0), "0 ZIP vào Thùng rác · 1 ZIP mới đang chờ");
    EXPECT_EQ(scanAfter(23.9), "0 ZIP vào Thùng rác · 1 ZIP mới đang chờ");
    EXPECT_EQ(scanAfter(0.1), "1 ZIP vào Thùng rác · 0 ZIP mới đang chờ");
    EXPECT_TRUE(inTrash("brief.zip"));
    for (const char* kept : {"present.zip", "Brief.ZIP.txt", ".hidden.zip", "unpacked/inner.zip"})
        EXPECT_TRUE(fs::exists(inbox / kept)) << kept;

    const auto snapshot = engine->snapshot();
    ASSERT_EQ(snapshot->zipCleanupEvents.size(), 1u);
    EXPECT_EQ(snapshot->zipCleanupEvents[0].sourcePath, (inbox / "brief.zip").string());

    // Years later the ZIP that was there at switch-on is still there.
    scanAfter(24 * 365);
    EXPECT_TRUE(fs::exists(inbox / "present.zip"));

    const auto off = ZipCleanupCommands::switchOff(*engine);
    EXPECT_EQ(off->messages, std::vector<std::string>{std::string(kZipCleanupOff)});
    EXPECT_FALSE(off->state->settings.zipCleanupRule);
}

TEST_F(ZipCleanupTest, AReplacedOrChangedZipWaitsAgain) {
    switchOn();
    writeFile(inbox / "replaced.zip", "first");
    writeFile(inbox / "grown.zip", "first");
    scanAfter(0);
    scanAfter(20);
    fs::remove(inbox / "replaced.zip");
    writeFile(inbox / "replaced.zip", "other");  // same name, another file
    writeFile(inbox / "grown.zip", "first and more");
    scanAfter(0);
    EXPECT_EQ(scanAfter(5), "0 ZIP vào Thùng rác · 2 ZIP mới đang chờ");  // 25 hours after first seen
    EXPECT_EQ(scanAfter(19), "2 ZIP vào Thùng rác · 0 ZIP mới đang chờ");
}

TEST_F(ZipCleanupTest, RefusalsAndAFolderThatIsNoLongerApproved) {
    EXPECT_EQ(refusal([&] { ZipCleanupCommands::switchOn(*engine, home); }), kZipFolderNotGranted);
    switchOn();
    engine->removeGrant(engine->state().grants.front().id.text());
    EXPECT_EQ(scanAfter(48), kZipFolderNotGranted);
    EXPECT_TRUE(fs::exists(inbox / "present.zip"));
}

// The ledger and the processor on their own, with a clock and a Trash of the test's.
class ZipLedgerTest : public ::testing::Test {
protected:
    testing::TempDir dir;
    Date start = Date::now().adding(3600);
    ZipCleanupRule rule{Uuid::random(), Uuid::random(), start};
    ZipCleanupLedger ledger = ZipCleanupLedger::baseline(rule.id, "root", {}, dir.path(), start);
    std::vector<std::string> trashed;  // what the processor gave to the Trash

    std::vector<FileRecord> files() { return FileScanner::scan({dir.path()}).files; }

    std::vector<std::string> run(Date now) { return run(ledger, now); }
    std::vector<std::string> run(ZipCleanupLedger& with, Date now) {
        return ZipCleanupProcessor::run(
            files(), dir.path(), "root", rule, now, with, [](const auto&) {},
            [&](const FileRecord& file) {
                trashed.push_back(file.filename());
                fs::remove(file.url);
            });
    }
};

TEST_F(ZipLedgerTest, GuardsOfTheProcessor) {
    writeFile(dir / "a.zip", "a");
    ZipCleanupLedger foreign = ledger;
    foreign.ruleID = Uuid::random();
    EXPECT_THROW(run(foreign, start.adding(2 * kDay)), KeloError);

    run(start);                                   // first seen
    EXPECT_TRUE(run(start.adding(-60)).empty());  // a clock set back cleans nothing
    EXPECT_TRUE(trashed.empty());

    // Changed between the scan and the trashing: left where it is, with a line.
    const auto scanned = files();
    writeFile(dir / "a.zip", "changed after the scan");
    const auto lines = ZipCleanupProcessor::run(scanned, dir.path(), "root", rule, start.adding(2 * kDay), ledger,
                                                [](const auto&) {}, [&](const FileRecord&) { FAIL(); });
    EXPECT_EQ(lines, std::vector<std::string>{"a.zip: " + std::string(kZipChanged)});

    // Another folder at the same path: everything in it is taken as already there.
    ledger.observe(files(), dir.path(), "another root", start.adding(3 * kDay));
    EXPECT_TRUE(run(start.adding(9 * kDay)).empty());
    EXPECT_TRUE(trashed.empty());
    EXPECT_TRUE(ledger.entries.at("a.zip").excluded);
}

TEST_F(ZipLedgerTest, KeepsTheNewestHundredEvents) {
    for (int i = 0; i < 101; ++i) writeFile(dir / ("z" + std::to_string(1000 + i) + ".zip"), "z");
    run(start);
    EXPECT_TRUE(run(start.adding(kDay)).empty());
    ASSERT_EQ(trashed.size(), 101u);
    ASSERT_EQ(ledger.events.size(), 100u);
    EXPECT_EQ(ledger.events.front().filename, "z1001.zip");
    EXPECT_EQ(ledger.events.back().filename, "z1100.zip");
    EXPECT_TRUE(ledger.entries.empty());
}

// Handoff archives end to end on real folders: the archive unzips to the project
// byte for byte, every refusal leaves nothing behind, the project is never changed,
// and a publication killed at each step is settled by the next scan.

// Every entry under `root`: folders as "/", files as their bytes.
std::map<std::string, std::string> tree(const fs::path& root) {
    std::map<std::string, std::string> out;
    if (!fs::exists(root)) return out;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        out[fs::relative(entry.path(), root).native()] = entry.is_directory() ? "/" : readFile(entry.path());
    return out;
}

// Whether `unzip` with these arguments succeeds.
bool unzip(const std::string& arguments) {
    return testing::runShell("unzip " + arguments + " >/dev/null 2>&1").ok();
}

class HandoffTest : public testing::EngineFixture {
protected:
    fs::path project = home / "Lotus Spa";
    fs::path exports = dir / "Exports";
    fs::path zip = exports / "Lotus Spa-handoff.zip";
    fs::path storage = data / "tmp";
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        makeFolders({"Lotus Spa"});
        fs::create_directories(exports);
        writeFile(project / "Working/Ảnh bìa.psd", std::string(300'000, 'p'));
        writeFile(project / "Export/Social/post-1.png", "png-1");
        writeFile(project / "brief.pdf", "brief");
        fs::create_directories(project / "Empty");
        engine = startWithFolders(false);
    }

    std::string handoff(const fs::path& to, const HandoffProgress& progress = {}, std::stop_token stop = {}) {
        const auto reviewed = HandoffCommands::review(*engine, "Lotus Spa");
        std::string out;
        const auto snapshot = HandoffCommands::createHandoff(*engine, "Lotus Spa", reviewed, to, progress, stop);
        for (const auto& message : snapshot->messages) out += message;
        return out;
    }
    std::string refusalOf(const fs::path& to) {
        return refusal([&] { handoff(to); });
    }
};

TEST_F(HandoffTest, ArchiveUnpacksToTheProjectByteForByteAndLeavesNothingStaged) {
    const auto before = tree(project);
    std::uint64_t lastDone = 0, total = 0;
    EXPECT_EQ(handoff(exports, [&](std::uint64_t done, std::uint64_t all) { lastDone = done, total = all; }),
              "Handoff created: Lotus Spa-handoff.zip. Original project unchanged. ZIP outputs are not included in "
              "Clean Undo.");
    EXPECT_EQ(lastDone, total);
    EXPECT_EQ(total, 300'000u + 10);
    ASSERT_TRUE(unzip("-tqq '" + zip.native() + "'"));
    const fs::path unpacked = dir / "unpacked";
    ASSERT_TRUE(unzip("-qq '" + zip.native() + "' -d '" + unpacked.native() + "'"));
    EXPECT_EQ(tree(unpacked / "Lotus Spa"), before);
    EXPECT_EQ(tree(unpacked).size(), before.size() + 1);  // the project folder is the only top entry
    EXPECT_EQ(tree(project), before);
    EXPECT_TRUE(tree(storage).empty());
    EXPECT_TRUE(engine->scan()->history->empty());  // not part of the sorting history
}

TEST_F(HandoffTest, RefusalsLeaveTheProjectExportAndStorageAsTheyWere) {
    writeFile(zip, "someone else's zip");
    const auto projectBefore = tree(project);
    EXPECT_EQ(refusalOf(exports),
              "A handoff with this name exists. Choose another export folder; nothing was overwritten.");
    EXPECT_EQ(readFile(zip), "someone else's zip");
    EXPECT_EQ(refusalOf(project / "Export"), "Choose an accessible export folder outside this project.");
    EXPECT_EQ(refusalOf(dir / "missing"), "Choose an accessible export folder outside this project.");
    if (fs::exists("/dev/shm") && ::access("/dev/shm", W_OK) == 0) {
        testing::TempDir other("/dev/shm");
        EXPECT_EQ(refusalOf(other.path()), "Export must be on the same volume as Kelo's application data.");
    }

    const auto reviewed = HandoffCommands::review(*engine, "Lotus Spa");
    writeFile(project / "late.txt", "added after review");
    testing::makeOlder(project / "late.txt", std::chrono::hours(2));
    const std::string changed = "Project changed or contains active files. Reload and review the handoff again.";
    EXPECT_EQ(refusal([&] { HandoffCommands::createHandoff(*engine, "Lotus Spa", reviewed, exports); }), changed);
    clockNow = Date::now();  // every file was written a moment ago
    EXPECT_EQ(refusalOf(exports), changed);
    fs::remove(project / "late.txt");
    EXPECT_EQ(tree(project), projectBefore);

    const std::string name(250, 'n');  // a valid folder name, too long with the suffix
    writeFile(home / name / "a.txt", "a");
    testing::makeOlder(home / name / "a.txt", std::chrono::hours(2));
    clockNow = Date::now().adding(3600);
    engine->scan();
    const auto longName = HandoffCommands::review(*engine, name);
    EXPECT_EQ(refusal([&] { HandoffCommands::createHandoff(*engine, name, longName, exports); }),
              "Project folder name cannot be used for a safe ZIP filename.");
    EXPECT_EQ(tree(exports), (std::map<std::string, std::string>{{"Lotus Spa-handoff.zip", "someone else's zip"}}));
    EXPECT_TRUE(tree(storage).empty());
}

TEST_F(HandoffTest, ChangeDuringPackingKeepsTheArchivePrivateAndCancelKeepsNothing) {
    bool touched = false;
    // Packed first ("Export" sorts before "Working"), touched while the next file is read.
    const auto touch = [&](std::uint64_t done, std::uint64_t) {
        if (done > 1000 && !std::exchange(touched, true)) writeFile(project / "Export/Social/post-1.png", "png-2");
    };
    EXPECT_EQ(refusal([&] { handoff(exports, touch); }),
              "Project changed during archiving. Archive retained privately; reload before retrying.");
    EXPECT_FALSE(fs::exists(zip));
    const auto usage = HandoffCommands::storage(*engine);
    ASSERT_EQ(usage.stages.size(), 1u);
    EXPECT_TRUE(fs::is_regular_file(usage.stages[0].archive()));
    EXPECT_FALSE(usage.stages[0].marker->publicationStarted);
    fs::remove_all(usage.stages[0].folder);

    testing::makeOlder(project / "Export/Social/post-1.png", std::chrono::hours(2));
    std::stop_source stop;
    EXPECT_EQ(handoff(
                  exports, [&](std::uint64_t, std::uint64_t) { stop.request_stop(); }, stop.get_token()),
              kHandoffCancelled);
    EXPECT_FALSE(fs::exists(zip));
    EXPECT_TRUE(tree(storage).empty());
}

TEST_F(HandoffTest, ScanSweepsOnlyStagesOlderThanADayAndRefusesForeignMarkers) {
    const PrivateStorage privateStorage(storage);
    const auto old = privateStorage.createStage("Old-handoff.zip", clockNow.adding(-2 * kAbandonedStageAge));
    writeFile(old.archive(), std::string(2000, 'z'));
    const auto fresh = privateStorage.createStage("New-handoff.zip", clockNow.adding(-60));
    writeFile(storage / "not-ours.txt", "x");
    const auto snapshot = engine->scan();
    EXPECT_TRUE(std::any_of(snapshot->messages.begin(), snapshot->messages.end(), [](const std::string& m) {
        return m.starts_with("Cleaned private storage: removed 1 abandoned handoff stage (2.") && m.ends_with(" KB).");
    })) << ::testing::PrintToString(snapshot->messages);
    EXPECT_FALSE(fs::exists(old.folder));
    EXPECT_TRUE(fs::exists(fresh.folder));
    EXPECT_TRUE(fs::exists(storage / "not-ours.txt"));

    const auto markerWith = [&](const std::function<void(Json&)>& edit) {
        Json json = encodeValue(*fresh.marker);
        edit(json);
        writeFile(fresh.folder / kHandoffMarkerName, json.dump());
        return refusal([&] { readHandoffMarker(fresh.folder); });
    };
    EXPECT_EQ(markerWith([](Json& j) { j["owner"] = "Other"; }), "Invalid private marker.");
    EXPECT_EQ(markerWith([](Json& j) { j["id"] = Uuid::random().text(); }), "Private staging marker mismatch.");
    EXPECT_EQ(markerWith([](Json& j) { j["archiveName"] = "../x-handoff.zip"; }), "Invalid private archive name.");
    EXPECT_EQ(markerWith([](Json& j) { j["publicationStarted"] = 1.0; }), "Invalid private archive marker.");
    EXPECT_EQ(markerWith([](Json& j) { j["pad"] = std::string(kHandoffMarkerSizeLimit, ' '); }),
              "Private marker exceeds its size limit.");
    EXPECT_EQ(refusal([&] { privateStorage.removeStage(storage / "not-ours.txt"); }),
              "Not a private staging directory.");
}

TEST_F(HandoffTest, KillDuringPublicationIsSettledAtTheNextScan) {
    const auto before = tree(project);
    const auto reviewed = HandoffCommands::review(*engine, "Lotus Spa");
    engine.reset();
    for (int killAt = 1; killAt <= 4; ++killAt) {
        const pid_t child = testing::startChild([&] {
            int steps = 0;
            const auto step = [&](std::string_view) {
                if (++steps == killAt) _exit(77);
            };
            HandoffContext context{data, PrivateStorage(storage), [this] { return clockNow; }, {}, {}, step};
            createHandoff(HandoffRequest{project, reviewed, exports}, context);
        });
        ASSERT_EQ(testing::waitForChild(child), 77) << "kill point " << killAt;

        engine = start();
        const auto snapshot = engine->scan();
        const auto usage = HandoffCommands::storage(*engine);
        // Killed before the move: the archive stays staged; after it: published and the stage gone.
        const bool published = fs::exists(zip);
        EXPECT_EQ(published, killAt >= 3) << "kill point " << killAt;
        EXPECT_EQ(usage.stages.size(), published ? 0u : 1u) << "kill point " << killAt;
        EXPECT_TRUE(unzip("-tqq '" + (published ? zip : usage.stages[0].archive()).native() + "'"));
        if (killAt == 3) {
            EXPECT_TRUE(std::any_of(snapshot->messages.begin(), snapshot->messages.end(),
                                    [](const std::string& m) { return m.starts_with("Recovered completed move: "); }));
        }
        EXPECT_EQ(tree(project), before);
        engine.reset();
        if (published) fs::remove(zip);
        fs::remove_all(storage);
        fs::create_directories(storage);
    }
}

}  // namespace
}  // namespace kelo
