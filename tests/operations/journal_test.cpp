#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <system_error>

#include "operations/operation_journal.h"
#include "support/log_kill_harness.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::refusalOf;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

const std::string kNotDurable =
    "The journal could not be made durable. Nothing more is recorded until it is written again.";

// `count` moves of one new batch.
std::vector<PlannedOperation> makeBatch(int count) {
    const Uuid batch = Uuid::random();
    std::vector<PlannedOperation> ops;
    for (int n = 0; n < count; ++n)
        ops.push_back({Uuid::random(), batch, "/inbox/file " + std::to_string(n) + ".pdf",
                       "/home/Job/Reference/file " + std::to_string(n) + ".pdf",
                       FileIdentity{1, static_cast<std::uint64_t>(100 + n), 5, Date{7.5}}, OperationType::move,
                       std::nullopt});
    return ops;
}

OperationJournal::Clock fixedClock() {
    return [] { return Date{1000.25}; };
}

class JournalTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path path = dir / "journal.json";
};

TEST_F(JournalTest, PrepareRecordsPlannedEntriesAndMarksSetStatusAndOutcome) {
    OperationJournal journal(path, fixedClock());
    const auto ops = makeBatch(3);
    journal.prepare(ops);
    ASSERT_EQ(journal.document().entries.size(), 3u);
    EXPECT_EQ(journal.document().entries[1], (JournalEntry{ops[1], Date{1000.25}, OperationStatus::planned, {}, {}}));

    journal.mark(ops[0].id, OperationStatus::completed, std::nullopt, OperationOutcome::skipped);
    journal.mark(ops[1].id, OperationStatus::failed, "Possibly active — left untouched.");
    journal.mark(ops[2].id, OperationStatus::failed, "Two files share a destination in this batch.",
                 OperationOutcome::skipped);

    EXPECT_EQ(journal.entry(ops[0].id)->status, OperationStatus::completed);
    EXPECT_EQ(journal.entry(ops[0].id)->outcome, std::nullopt);  // completed never keeps an outcome
    EXPECT_EQ(journal.entry(ops[1].id)->outcome, OperationOutcome::failed);
    EXPECT_EQ(journal.entry(ops[1].id)->error, "Possibly active — left untouched.");
    EXPECT_EQ(journal.entry(ops[2].id)->outcome, OperationOutcome::skipped);
    EXPECT_EQ(journal.positionsWithStatus({OperationStatus::failed}), (std::vector<std::size_t>{1, 2}));
    EXPECT_EQ(journal.positionsWithStatus({OperationStatus::completed, OperationStatus::planned}),
              (std::vector<std::size_t>{0}));
    EXPECT_EQ(journal.entry(Uuid::random()), nullptr);
    EXPECT_TRUE(journal.isConsistent());

    // A later mark replaces the error and drops the outcome again.
    journal.mark(ops[1].id, OperationStatus::completed);
    EXPECT_EQ(journal.entry(ops[1].id)->error, std::nullopt);
    EXPECT_EQ(journal.entry(ops[1].id)->outcome, std::nullopt);
}

TEST_F(JournalTest, RefusalsChangeNothing) {
    OperationJournal journal(path, fixedClock());
    const auto ops = makeBatch(2);
    journal.prepare(ops);
    const JournalDocument before = journal.document();
    const std::string logBefore = readFile(journal.logUrl());

    // A fresh operation followed by a recorded one refuses the whole list; so does one id twice in a list.
    auto mixed = makeBatch(1), twice = makeBatch(1);
    mixed.push_back(ops[0]), twice.push_back(twice[0]);
    for (const auto& list : {ops, mixed, twice})
        EXPECT_EQ(refusalOf([&] { journal.prepare(list); }), "Operation already recorded. Generate a fresh plan.");
    EXPECT_EQ(refusalOf([&] { journal.mark(Uuid::random(), OperationStatus::started); }),
              "Operation missing from journal.");

    EXPECT_EQ(journal.document(), before);
    EXPECT_EQ(readFile(journal.logUrl()), logBefore);
    OperationJournal reopened(path, fixedClock());
    EXPECT_EQ(reopened.document(), before);
}

// A batch's end and a restart keep a small log as it is, so a one-file batch never
// rewrites the document; once the log passes its share of the document, it is folded.
TEST_F(JournalTest, TheLogIsKeptAcrossBatchesAndRestartsUntilAFoldIsDue) {
    auto journal = std::make_unique<OperationJournal>(path, fixedClock());
    const std::string documentBefore = readFile(path);
    const auto ops = makeBatch(3);
    journal->prepare(ops);
    journal->mark(ops[0].id, OperationStatus::started);
    journal->mark(ops[0].id, OperationStatus::completed, std::nullopt, std::nullopt, JournalLog::Sync::withNext);
    journal->settle();
    const JournalDocument expected = journal->document();
    const std::string log = readFile(journal->logUrl());
    EXPECT_FALSE(log.empty());

    journal = std::make_unique<OperationJournal>(path, fixedClock());
    EXPECT_EQ(journal->document(), expected);
    EXPECT_EQ(readFile(path), documentBefore);
    EXPECT_EQ(readFile(journal->logUrl()), log);
    journal->mark(ops[1].id, OperationStatus::started);  // appended after what was found
    journal = std::make_unique<OperationJournal>(path, fixedClock());
    EXPECT_EQ(journal->entry(ops[1].id)->status, OperationStatus::started);

    while (fs::file_size(journal->logUrl()) < OperationJournal::kFoldMinimum) journal->prepare(makeBatch(50));
    journal->settle();
    EXPECT_EQ(fs::file_size(journal->logUrl()), 0u);
    EXPECT_EQ(decodeValue<JournalDocument>(parseDocument(readFile(path))), journal->document());
}

// A missing journal begins empty at version one, and opening writes it. The fold
// writes the document entry by entry; it must be byte for byte the form every other
// store writes, empty or not, whatever the entries hold.
TEST_F(JournalTest, FoldWritesTheStoresDocumentForm) {
    OperationJournal journal(path, fixedClock());
    EXPECT_EQ(journal.document(), JournalDocument{});
    EXPECT_EQ(journal.document().schemaVersion, 1);
    EXPECT_EQ(readFile(path), formatDocument(encodeValue(journal.document())));

    auto ops = makeBatch(3);
    ops[1].type = OperationType::undo;
    ops[1].reverses = ops[0].id;
    ops[2].expected.reset();
    ops[2].source = "/inbox/Báo giá \"quý\" 3\n.pdf";
    journal.prepare(ops);
    journal.mark(ops[0].id, OperationStatus::completed);
    journal.mark(ops[1].id, OperationStatus::failed, "Name conflict:\tx\xff.pdf already exists.",
                 OperationOutcome::skipped);
    journal.checkpoint();
    EXPECT_EQ(readFile(path), formatDocument(encodeValue(journal.document())));

    // Reopened beside its empty log the document is not rewritten at all (a rewrite
    // is an atomic replace, a new file), nor by a checkpoint with nothing to fold.
    // The invalid byte was written as a replacement character.
    const std::string written = readFile(path);
    const auto inodeOf = [](const std::filesystem::path& file) {
        struct stat info {};
        return ::stat(file.c_str(), &info) == 0 ? info.st_ino : 0;
    };
    const auto inode = inodeOf(path);
    OperationJournal reopened(path, fixedClock());
    EXPECT_EQ(reopened.document(), decodeValue<JournalDocument>(parseDocument(written)));
    EXPECT_EQ(reopened.document().entries.size(), 3u);
    reopened.checkpoint();
    EXPECT_EQ(inodeOf(path), inode);
    EXPECT_EQ(readFile(path), written);

    // A mark after that goes to the log and survives a reopen.
    reopened.mark(ops[2].id, OperationStatus::started);
    EXPECT_EQ(OperationJournal(path, fixedClock()).entry(ops[2].id)->status, OperationStatus::started);
}

// One run of records on top of a folded document: a cut anywhere in the log keeps
// the whole records before it (a torn last record was never acknowledged); a damaged
// record with an intact one after it is acknowledged history, so the open is refused
// and both files stay byte for byte as they were, whichever byte was hit.
TEST_F(JournalTest, TornLastRecordIsDroppedAndAnyOtherDamageIsRefused) {
    std::string document;
    std::vector<JournalDocument> states;  // the document after k records
    std::vector<std::uintmax_t> starts;   // where record k begins; the last is the log's size
    const auto older = makeBatch(1);
    {
        OperationJournal journal(path, fixedClock());
        journal.prepare(older);
        journal.mark(older[0].id, OperationStatus::completed);
        journal.checkpoint();
        document = readFile(path);
        const auto ops = makeBatch(3);
        const std::vector<std::function<void()>> steps = {
            [&] { journal.prepare(ops); },
            [&] { journal.mark(ops[0].id, OperationStatus::started); },
            [&] { journal.mark(ops[0].id, OperationStatus::completed); },
            [&] { journal.mark(ops[1].id, OperationStatus::failed, "Name conflict: a.pdf already exists."); },
            [&] { journal.mark(older[0].id, OperationStatus::undone); },
            [] {},  // notes where the log ends
        };
        for (const auto& step : steps) {
            states.push_back(journal.document());
            starts.push_back(fs::file_size(journal.logUrl()));
            step();
        }
    }
    const std::string log = readFile(dir / "journal.log");
    ASSERT_EQ(log.size(), starts.back());

    for (std::size_t cut = 0; cut <= log.size(); ++cut) {
        writeFile(path, document);
        writeFile(dir / "journal.log", log.substr(0, cut));
        std::size_t whole = 0;
        while (whole + 1 < starts.size() && starts[whole + 1] <= cut) ++whole;
        OperationJournal reopened(path, fixedClock());
        ASSERT_EQ(reopened.document(), states[whole]) << "log cut at byte " << cut;
        ASSERT_TRUE(reopened.isConsistent());
    }

    for (std::size_t record = 0; record + 2 < starts.size(); ++record) {
        // the length, the checksum, and the first and last byte of the payload
        for (const std::size_t at : {starts[record], starts[record] + 5, starts[record] + 8, starts[record + 1] - 1}) {
            std::string damaged = log;
            damaged[at] ^= 0x20;
            writeFile(dir / "journal.log", damaged);
            EXPECT_EQ(
                refusalOf([&] { OperationJournal(path, fixedClock()); }),
                "The journal's log is damaged. Operations disabled; journal.json and its log were left as they are.")
                << "record " << record << ", byte " << at;
            EXPECT_EQ(readFile(path), document);
            EXPECT_EQ(readFile(dir / "journal.log"), damaged);
        }
    }
    std::string tornLast = log;
    tornLast[log.size() - 3] ^= 0x20;  // inside the last record's payload
    writeFile(dir / "journal.log", tornLast);
    EXPECT_EQ(OperationJournal(path, fixedClock()).document(), states[states.size() - 2]);
}

// What a crash can leave beside the document is harmless: records the document
// already holds (the fold wrote it, the log was not yet emptied) are not applied
// twice, and a log holding only a torn record is replaced with an empty one at the
// open, so that appends do not go after the torn bytes (reading stops there).
TEST_F(JournalTest, LeftoverLogsAreHarmless) {
    const auto ops = makeBatch(2);
    JournalDocument expected;
    std::string log;
    {
        OperationJournal journal(path, fixedClock());
        journal.prepare(ops);
        journal.mark(ops[0].id, OperationStatus::started);
        journal.mark(ops[0].id, OperationStatus::completed);
        log = readFile(journal.logUrl());
        journal.checkpoint();
        expected = journal.document();
    }
    writeFile(dir / "journal.log", log);
    EXPECT_EQ(OperationJournal(path, fixedClock()).document(), expected);

    writeFile(dir / "journal.log", std::string("\x20\x00\x00\x00garbage", 11));
    {
        OperationJournal journal(path, fixedClock());
        EXPECT_EQ(fs::file_size(journal.logUrl()), 0u);
        journal.mark(ops[1].id, OperationStatus::started);
    }
    OperationJournal reopened(path, fixedClock());
    EXPECT_EQ(reopened.entry(ops[1].id)->status, OperationStatus::started);
    EXPECT_TRUE(reopened.isConsistent());
}

// Files the journal cannot trust are refused, and both stay byte for byte as they
// were (no log is made beside a document of an unknown version).
TEST_F(JournalTest, UntrustworthyFilesAreRefusedAndLeftAsTheyWere) {
    const auto ops = makeBatch(1);
    JournalDocument doubled;
    std::string markLog;
    {
        OperationJournal journal(path, fixedClock());
        journal.prepare(ops);
        journal.checkpoint();
        doubled = journal.document();
        journal.mark(ops[0].id, OperationStatus::completed);
        markLog = readFile(journal.logUrl());
    }
    doubled.entries.push_back(doubled.entries.front());
    const struct {
        std::string document;
        std::optional<std::string> log;
        std::string refusal;
    } cases[] = {
        {"{\n  \"entries\": [{\"some\": \"future form\"}],\n  \"schemaVersion\": 2\n}\n", std::nullopt,
         "Unsupported journal version. Operations disabled."},
        {formatDocument(encodeValue(doubled)), "",
         "The journal lists one operation twice. Operations disabled; journal.json was left as it is."},
        // An older document restored by hand no longer holds the marked entry.
        {"{\n  \"entries\": [],\n  \"schemaVersion\": 1\n}\n", markLog,
         "The journal's log does not match journal.json. Operations disabled; both files were left as they are."},
    };
    for (const auto& c : cases) {
        writeFile(path, c.document);
        fs::remove(dir / "journal.log");
        if (c.log) writeFile(dir / "journal.log", *c.log);
        EXPECT_EQ(refusalOf([&] { OperationJournal(path, fixedClock()); }), c.refusal);
        EXPECT_EQ(readFile(path), c.document);
        EXPECT_EQ(fs::exists(dir / "journal.log"), c.log.has_value()) << c.refusal;
        EXPECT_EQ(c.log ? readFile(dir / "journal.log") : "", c.log.value_or(""));
    }
}

// The steps of two batches, with a fold after each.
using Step = std::function<void(OperationJournal&)>;

std::vector<Step> makeSteps() {
    const auto first = makeBatch(3);
    const auto second = makeBatch(3);
    const auto mark = [](const Uuid& id, OperationStatus status, std::optional<std::string> error = std::nullopt) {
        return [=](OperationJournal& j) { j.mark(id, status, error); };
    };
    std::vector<Step> steps{[first](OperationJournal& j) { j.prepare(first); }};
    for (const auto& op : first)
        steps.insert(steps.end(), {mark(op.id, OperationStatus::started), mark(op.id, OperationStatus::completed)});
    steps.push_back([](OperationJournal& j) { j.checkpoint(); });
    steps.push_back([second](OperationJournal& j) { j.prepare(second); });
    for (const auto& op : second)
        steps.insert(steps.end(), {mark(op.id, OperationStatus::started),
                                   mark(op.id, OperationStatus::failed,
                                        "Interrupted operation; no retry. Inspect source and destination.")});
    steps.push_back(mark(first[0].id, OperationStatus::undone));
    steps.push_back([](OperationJournal& j) { j.checkpoint(); });
    return steps;
}

// Log calls that fail the n-th fsync (or cut the n-th write in half, as a full disk
// would) and count every call.
struct FaultyCalls {
    int failFsyncAt = -1, failWriteAt = -1, fsyncs = 0, writes = 0;

    LogCalls calls() {
        const LogCalls real = LogCalls::system();
        return LogCalls{[this, real](int fd, const void* data, std::size_t size) -> ssize_t {
                            if (++writes != failWriteAt) return real.write(fd, data, size);
                            real.write(fd, data, size / 2);
                            return errno = ENOSPC, -1;
                        },
                        [this, real](int fd) { return ++fsyncs == failFsyncAt ? (errno = EIO, -1) : real.fsync(fd); }};
    }
};

// Fails each sync of a batch in turn. The failing call reports the error, the journal
// then refuses to record anything (so the failed sync is never retried into a success),
// and a reopened journal holds every acknowledged record.
TEST_F(JournalTest, FailedSyncIsReportedAndNeverRetriedIntoSuccess) {
    const int kSteps = 7;  // one prepare and six marks
    for (int failing = 1; failing <= kSteps; ++failing) {
        SCOPED_TRACE("failing sync " + std::to_string(failing));
        fs::remove_all(dir.path()), fs::create_directory(dir.path());
        FaultyCalls faults;
        faults.failFsyncAt = failing;
        JournalDocument acknowledged, attempted;
        {
            OperationJournal journal(path, fixedClock(), faults.calls());
            const std::vector<Step> steps = makeSteps();  // the first batch's prepare and marks
            const auto run = [&](int step) {
                return testing::systemErrorOf([&] { steps[static_cast<std::size_t>(step)](journal); });
            };
            // Runs the steps until one fails, noting what was acknowledged before it.
            int step = 0, error = 0;
            while (step < kSteps && (acknowledged = journal.document(), error = run(step)) == 0) ++step;
            EXPECT_EQ(error, EIO);
            ASSERT_EQ(step, failing - 1);
            EXPECT_EQ(journal.document(), acknowledged);  // memory keeps only what was acknowledged
            const int syncsSoFar = faults.fsyncs;
            for (int later = step; later < kSteps; ++later) EXPECT_EQ(refusalOf([&] { run(later); }), kNotDurable);
            EXPECT_EQ(faults.fsyncs, syncsSoFar);  // nothing was synced again
            EXPECT_EQ(journal.document(), acknowledged);
            // The record whose sync failed may still have reached the disk.
            attempted = OperationJournal(path, fixedClock()).document();
        }
        // Whatever the disk kept, nothing acknowledged is lost and nothing is half-applied.
        EXPECT_TRUE(attempted.entries.size() >= acknowledged.entries.size());
        for (std::size_t i = 0; i < acknowledged.entries.size(); ++i)
            EXPECT_EQ(attempted.entries[i].operation, acknowledged.entries[i].operation);
    }
}

// A completed mark may wait for the next record's sync: it is written at once (a
// crashed process leaves it on disk), costs no sync of its own, and the next mark or
// the fold makes it durable.
TEST_F(JournalTest, DeferredMarkRidesOnTheNextSync) {
    FaultyCalls faults;
    OperationJournal journal(path, fixedClock(), faults.calls());
    const auto ops = makeBatch(2);
    journal.prepare(ops);
    journal.mark(ops[0].id, OperationStatus::started);
    const int before = faults.fsyncs;
    const auto logSize = fs::file_size(journal.logUrl());
    journal.mark(ops[0].id, OperationStatus::completed, std::nullopt, std::nullopt, JournalLog::Sync::withNext);
    EXPECT_EQ(faults.fsyncs, before);
    EXPECT_GT(fs::file_size(journal.logUrl()), logSize);  // written at once
    journal.mark(ops[1].id, OperationStatus::started);
    EXPECT_EQ(faults.fsyncs, before + 1);                                        // one sync for both records
    EXPECT_EQ(JournalLog::read(readFile(journal.logUrl())).records.size(), 4u);  // prepare, started, completed, started

    journal.mark(ops[1].id, OperationStatus::completed, std::nullopt, std::nullopt, JournalLog::Sync::withNext);
    journal.checkpoint();  // the fold carries the waiting mark
    OperationJournal reopened(path, fixedClock());
    EXPECT_EQ(reopened.entry(ops[0].id)->status, OperationStatus::completed);
    EXPECT_EQ(reopened.entry(ops[1].id)->status, OperationStatus::completed);
}

// After an append cut short by a full disk, or a checkpoint that failed half-way
// (which must not leave marks going to a log no longer at its path), nothing is
// recorded until a checkpoint succeeds; then recording goes on from what was
// acknowledged.
TEST_F(JournalTest, AFailedAppendOrCheckpointStopsRecordingUntilACheckpointSucceeds) {
    FaultyCalls faults;
    faults.failWriteAt = 2;  // the first mark is cut in half by a full disk
    const auto ops = makeBatch(3);
    {
        OperationJournal journal(path, fixedClock(), faults.calls());
        journal.prepare(ops);
        EXPECT_THROW(journal.mark(ops[0].id, OperationStatus::started), std::system_error);
        EXPECT_EQ(journal.entry(ops[0].id)->status, OperationStatus::planned);
        journal.checkpoint();  // the document as acknowledged, and a fresh log
        journal.mark(ops[1].id, OperationStatus::started);

        // A folder where the fresh log should go makes the second step of the fold fail.
        fs::remove(journal.logUrl());
        fs::create_directory(journal.logUrl());
        EXPECT_ANY_THROW(journal.checkpoint());
        EXPECT_EQ(refusalOf([&] { journal.mark(ops[2].id, OperationStatus::started); }), kNotDurable);
        fs::remove(journal.logUrl());
        journal.checkpoint();
        journal.mark(ops[2].id, OperationStatus::started);
    }
    OperationJournal reopened(path, fixedClock());
    EXPECT_EQ(reopened.entry(ops[0].id)->status, OperationStatus::planned);
    EXPECT_EQ(reopened.entry(ops[1].id)->status, OperationStatus::started);
    EXPECT_EQ(reopened.entry(ops[2].id)->status, OperationStatus::started);
    EXPECT_TRUE(reopened.isConsistent());
}

// Runs `steps` on `journal`, calling `begin(i)` before step i.
void runSteps(const std::vector<Step>& steps, OperationJournal& journal, const testing::ReportingChild::Report& begin) {
    for (std::size_t i = 0; i < steps.size(); ++i) begin(i), steps[i](journal);
}

// The document after each number of steps, from a run that is not killed.
std::vector<JournalDocument> statesAfterEachStep(const std::vector<Step>& steps) {
    testing::TempDir dir;
    OperationJournal journal(dir / "journal.json", fixedClock());
    std::vector<JournalDocument> states;
    runSteps(steps, journal, [&](std::size_t) { states.push_back(journal.document()); });
    states.push_back(journal.document());
    return states;
}

// Kills a process that is writing the journal after each acknowledged step, at
// whatever point it has reached by then (inside an append, a sync or a fold), and
// reopens: the journal must hold every acknowledged step and be exactly the state
// after some later step, never anything in between.
TEST(JournalCrashTest, KilledWriterLosesNothingAcknowledged) {
    const std::vector<Step> steps = makeSteps();
    const std::vector<JournalDocument> states = statesAfterEachStep(steps);

    for (std::size_t acknowledged = 0; acknowledged <= steps.size(); ++acknowledged) {
        SCOPED_TRACE("killed after " + std::to_string(acknowledged) + " acknowledged steps");
        testing::TempDir dir;
        // Step i begins once the journal is open and i steps are acknowledged.
        testing::ReportingChild child([&](const testing::ReportingChild::Report& begin) {
            OperationJournal journal(dir / "journal.json", fixedClock());
            runSteps(steps, journal, begin);
            begin(steps.size());
        });
        ASSERT_TRUE(child.awaitReports(acknowledged + 1)) << "the writer failed before it was killed";
        child.kill();
        child.wait();

        OperationJournal reopened(dir / "journal.json", fixedClock());
        ASSERT_TRUE(reopened.isConsistent());
        bool matched = false;
        for (std::size_t k = acknowledged; k < states.size() && !matched; ++k)
            matched = reopened.document() == states[k];
        EXPECT_TRUE(matched) << "the reopened journal is not the state after any step from " << acknowledged;
    }
}

// Whatever step was under way when a kill cut an append short, the reopened journal
// holds every step before it, and is the state after that step or before it.
TEST(JournalCrashTest, KillsInsideAnAppendLoseNothingAcknowledged) {
    const std::vector<Step> steps = makeSteps();
    const std::vector<JournalDocument> states = statesAfterEachStep(steps);
    const int kills = testing::killInsideEveryLogCall(
        [&](const fs::path& dir, const LogCalls& calls, const testing::ReportingChild::Report& begin) {
            OperationJournal journal(dir / "journal.json", fixedClock(), calls);
            runSteps(steps, journal, begin);
        },
        [&](const fs::path& dir, int killAt, std::size_t underWay) {
            OperationJournal reopened(dir / "journal.json", fixedClock());
            ASSERT_TRUE(reopened.isConsistent());
            EXPECT_TRUE(reopened.document() == states[underWay] || reopened.document() == states[underWay + 1])
                << "killed inside call " << killAt << " during step " << underWay;
        });
    std::cout << "[ harness  ] kills inside an append: " << kills << "\n";
    EXPECT_GE(kills, 2 * 12);  // a write and a sync for each of the twelve marks and prepares at least
}

}  // namespace
}  // namespace kelo
