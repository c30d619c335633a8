// Handoff archives end to end on real folders: the archive unzips to the project
// byte for byte, every refusal leaves nothing behind, the project is never changed,
// and a publication killed at each step is settled by the next scan.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "engine/handoff_commands.h"
#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/engine_fixture.h"
#include "support/shell.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::writeFile;

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
    const auto changed = refusal([&] { HandoffCommands::createHandoff(*engine, "Lotus Spa", reviewed, exports); });
    EXPECT_EQ(changed, "Project changed or contains active files. Reload and review the handoff again.");
    clockNow = Date::now();  // every file was written a moment ago
    EXPECT_EQ(refusalOf(exports), "Project changed or contains active files. Reload and review the handoff again.");
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
