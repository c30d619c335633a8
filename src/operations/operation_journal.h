// OperationJournal: the write-ahead record of every file change. Each planned
// operation is recorded before anything on disk is touched and marked as it starts
// and ends, so that after a crash every operation can be told apart: never begun,
// maybe interrupted, or completed. History and undo are read from it.
//
// Durability: every `prepare` and `mark` appends one checksummed record to a log
// beside the document ("journal.log" beside "journal.json") and syncs it before
// returning (a completed move's mark may ride on the next sync instead; see `mark`),
// so its cost does not grow with the journal. The document and the log together
// are the journal: the log is kept across commands and restarts, and is folded into
// the document (atomic replace, file and folder synced) only once it has grown past
// a fixed share of the document (`settle`, which the executor calls at the end of
// every execution), or when it cannot be appended to any more (a failed append, a
// torn tail found at open). So a one-file batch costs a few log records whatever
// the journal's size, and the whole document is rewritten about once per quarter of
// its size in new records. A torn last record was never acknowledged and is ignored.
//
// Owned by the engine (one per journal file); used only from the engine thread.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/date.h"
#include "model/json_codec.h"
#include "model/uuid.h"
#include "operations/journal_log.h"
#include "operations/operation_plan.h"

namespace kelo {

// Tells a failed entry that was never attempted (skipped after preview) from one
// that was attempted and failed.
enum class OperationOutcome { skipped, failed };

inline constexpr std::array<std::pair<OperationOutcome, std::string_view>, 2> rawValues(OperationOutcome) {
    return {{{OperationOutcome::skipped, "skipped"}, {OperationOutcome::failed, "failed"}}};
}

struct JournalEntry {
    PlannedOperation operation;
    Date timestamp;  // when the entry was prepared; later marks keep it
    OperationStatus status = OperationStatus::planned;
    std::optional<std::string> error;
    std::optional<OperationOutcome> outcome;  // present only while status is failed

    friend bool operator==(const JournalEntry&, const JournalEntry&) = default;
};

struct JournalDocument {
    static constexpr std::int64_t kSupportedVersion = 1;

    std::int64_t schemaVersion = kSupportedVersion;
    std::vector<JournalEntry> entries;  // in the order written; never reordered

    friend bool operator==(const JournalDocument&, const JournalDocument&) = default;
};

void to_json(Json& out, const JournalEntry& entry);
void from_json(const Json& in, JournalEntry& entry);
void to_json(Json& out, const JournalDocument& document);
void from_json(const Json& in, JournalDocument& document);
// formatDocument(encodeValue(document)), written one entry at a time.
std::string documentText(const JournalDocument& document);

class OperationJournal {
public:
    using Clock = std::function<Date()>;

    // Opens the journal at `url`: loads the document (a missing file begins a fresh
    // one), refuses an unsupported version and replays the log, folding it into the
    // document when it has a torn tail or is due for a fold. Throws KeloError, DecodingError or std::system_error; on a refusal
    // both files are left exactly as they were.
    explicit OperationJournal(std::filesystem::path url, Clock clock = Date::now, LogCalls calls = LogCalls::system());

    // The document at `url` read and decoded, writing nothing: none when there is no
    // file. The slow half of opening, so start-up runs it on a second thread beside
    // the state's load; refusals and errors are those of opening.
    struct FoundDocument {
        std::optional<JournalDocument> document;
        std::uint64_t bytes = 0;
    };
    static FoundDocument readDocument(const std::filesystem::path& url);
    // Opens the journal at `url` as above, from its document as `found` read it
    // (nothing may have written the journal since).
    OperationJournal(std::filesystem::path url, FoundDocument found, Clock clock = Date::now,
                     LogCalls calls = LogCalls::system());

    // Records the operations as `planned`, all in one durable record. Refuses the
    // whole list, writing nothing, when any id is already recorded. With `withNext`
    // the record is durable with the next synced one instead: for a caller that
    // syncs a mark of these operations before touching anything on disk, so a
    // batch's plan and its first `started` cost one sync.
    void prepare(const std::vector<PlannedOperation>& operations, JournalLog::Sync sync = JournalLog::Sync::now);
    void prepare(const OperationPlan& plan) { prepare(plan.operations); }

    // Sets the status of one operation's entry; `outcome` is kept only for `failed`
    // (defaulting to `failed`). Durable before it returns, unless `sync` is
    // `withNext`: then the next durable record or the fold carries it. Only a mark
    // that reconcile can rebuild from the disk may wait (a completed move whose
    // `started` mark is durable), so a batch pays one log sync per operation.
    void mark(const Uuid& id, OperationStatus status, std::optional<std::string> error = std::nullopt,
              std::optional<OperationOutcome> outcome = std::nullopt, JournalLog::Sync sync = JournalLog::Sync::now);

    // Writes the whole document as it stands and starts an empty log, unless nothing
    // was recorded since the last fold and the log is healthy: then the document on
    // disk is already current and nothing is written. The way back after a failed
    // append (a broken log is always replaced).
    void checkpoint();

    // The end of a batch: folds the log when it has grown past kFoldShare of the
    // document (or kFoldMinimum), or is broken; otherwise makes every record durable,
    // unless `sync` is `withNext`: a batch whose last marks reconcile can rebuild
    // from the disk leaves them to the next synced record, a fold or `flush`, so
    // one sort does not pay a sync for its last mark.
    void settle(JournalLog::Sync sync = JournalLog::Sync::now);
    // Makes every record written so far durable, if the log is healthy (a broken one
    // is replaced by the next fold). For a quiet moment and before closing.
    void flush();
    // Before a batch: a log that failed an append is replaced (by a fold); a healthy
    // one is kept.
    void ensureWritable();

    static constexpr std::uint64_t kFoldMinimum = 1 << 20;  // bytes of log always allowed
    static constexpr std::uint64_t kFoldShare = 4;          // log may grow to document / 4

    const JournalDocument& document() const { return document_; }
    const std::filesystem::path& url() const { return url_; }
    std::filesystem::path logUrl() const;

    // The entry of one operation id, or null. Constant time.
    const JournalEntry* entry(const Uuid& id) const;
    // Positions in `document().entries` of the entries with any of these statuses, in
    // journal order (recovery asks for planned and started).
    std::vector<std::size_t> positionsWithStatus(std::initializer_list<OperationStatus> statuses) const;

    // True when every id occurs once and the index points at its entry.
    bool isConsistent() const;

    // The positions of the entries recorded or marked since the last call (since the
    // open for the first), in order, possibly repeated; what the history view reads
    // to update only the batches that changed. Leaves the list empty.
    std::vector<std::size_t> takeChangedPositions() { return std::exchange(changed_, {}); }

private:
    void replay(const std::string& payload);
    void apply(const std::vector<JournalEntry>& prepared);
    void applyMark(std::size_t position, OperationStatus status, std::optional<std::string> error,
                   std::optional<OperationOutcome> outcome);
    void requireWritable() const;

    std::filesystem::path url_;
    Clock clock_;
    LogCalls calls_;
    JournalDocument document_;
    std::unordered_map<Uuid, std::size_t> index_;  // operation id → position in entries
    JournalLog log_;
    bool unfolded_ = false;  // recorded in the log (or found there) since the last fold
    std::uint64_t documentBytes_ = 0;  // size of the document on disk
    std::vector<std::size_t> changed_;  // see takeChangedPositions

    bool foldDue() const;
};

}  // namespace kelo
