// Automatic ZIP cleanup with the engine's clock moved by hand: what is there when
// the rule goes on stays forever, a new ZIP goes to the real (test) Trash only
// after a day unchanged, a replaced or changed one waits again, and the ledger's
// guards hold.
#include <gtest/gtest.h>

#include <cstdlib>

#include "engine/zip_cleanup_commands.h"
#include "housekeeping/zip_cleanup_processor.h"
#include "model/kelo_error.h"
#include "scan/file_scanner.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::writeFile;

constexpr double kDay = 86'400;

class ZipCleanupTest : public testing::EngineFixture {
protected:
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        makeFolders({});
        writeFile(inbox / "present.zip", "old");
        engine = startWithFolders(false);
    }

    std::vector<std::string> switchOn() {
        return ZipCleanupCommands::switchOn(*engine, inbox)->messages;
    }
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
    // The desktop's own Trash tools see it where it came from.
    const std::string listing = dir / "trash-list.txt";
    ASSERT_EQ(std::system(("XDG_DATA_HOME='" + trashHome.string() + "' trash-list > '" + listing + "' 2>&1").c_str()), 0);
    EXPECT_NE(testing::readFile(listing).find((inbox / "brief.zip").string()), std::string::npos);

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
    const std::string grant = engine->state().grants.front().id.text();
    engine->removeGrant(grant);
    EXPECT_EQ(scanAfter(48), kZipFolderNotGranted);
    EXPECT_TRUE(fs::exists(inbox / "present.zip"));
}

// The ledger and the processor on their own, with a clock and a Trash of the test's.
class ZipLedgerTest : public ::testing::Test {
protected:
    testing::TempDir dir;
    Date start = Date::now().adding(3600);
    ZipCleanupRule rule{Uuid::random(), Uuid::random(), start};

    std::vector<FileRecord> files() { return FileScanner::scan({dir.path()}).files; }

    std::vector<std::string> run(ZipCleanupLedger& ledger, Date now, std::vector<std::string>& trashed) {
        return ZipCleanupProcessor::run(files(), dir.path(), "root", rule, now, ledger, [](const auto&) {},
                                        [&](const FileRecord& file) {
                                            trashed.push_back(file.filename());
                                            fs::remove(file.url);
                                        });
    }
};

TEST_F(ZipLedgerTest, GuardsOfTheProcessor) {
    writeFile(dir / "a.zip", "a");
    ZipCleanupLedger ledger = ZipCleanupLedger::baseline(rule.id, "root", {}, dir.path(), start);
    std::vector<std::string> trashed;

    ZipCleanupLedger foreign = ledger;
    foreign.ruleID = Uuid::random();
    EXPECT_THROW(run(foreign, start.adding(2 * kDay), trashed), KeloError);

    run(ledger, start, trashed);  // first seen
    EXPECT_TRUE(run(ledger, start.adding(-60), trashed).empty());  // a clock set back cleans nothing
    EXPECT_TRUE(trashed.empty());

    // Changed between the scan and the trashing: left where it is, with a line.
    const auto scanned = files();
    writeFile(dir / "a.zip", "changed after the scan");
    const auto lines = ZipCleanupProcessor::run(scanned, dir.path(), "root", rule, start.adding(2 * kDay), ledger,
                                                [](const auto&) {}, [&](const FileRecord&) { FAIL(); });
    EXPECT_EQ(lines, std::vector<std::string>{"a.zip: " + std::string(kZipChanged)});

    // Another folder at the same path: everything in it is taken as already there.
    ledger.observe(files(), dir.path(), "another root", start.adding(3 * kDay));
    EXPECT_TRUE(run(ledger, start.adding(9 * kDay), trashed).empty());
    EXPECT_TRUE(trashed.empty());
    EXPECT_TRUE(ledger.entries.at("a.zip").excluded);
}

TEST_F(ZipLedgerTest, KeepsTheNewestHundredEvents) {
    ZipCleanupLedger ledger = ZipCleanupLedger::baseline(rule.id, "root", {}, dir.path(), start);
    std::vector<std::string> trashed;
    for (int i = 0; i < 101; ++i) writeFile(dir / ("z" + std::to_string(1000 + i) + ".zip"), "z");
    run(ledger, start, trashed);
    EXPECT_TRUE(run(ledger, start.adding(kDay), trashed).empty());
    ASSERT_EQ(trashed.size(), 101u);
    ASSERT_EQ(ledger.events.size(), 100u);
    EXPECT_EQ(ledger.events.front().filename, "z1001.zip");
    EXPECT_EQ(ledger.events.back().filename, "z1100.zip");
    EXPECT_TRUE(ledger.entries.empty());
}

}  // namespace
}  // namespace kelo
