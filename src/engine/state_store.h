// StateStore: "state.json" and the log beside it ("state.log"). Owned by the
// engine's persistent data; used only from the engine thread.
//
// A year of decisions makes "state.json" megabytes long, so a change is not saved by
// rewriting it. Each save appends one checksummed record to the log, holding only
// what changed (an AppState delta), and syncs it before the change is reported,
// except what a sort learned: that record waits for the next sync, a quiet moment
// (`flush`) or the engine's close, so a one-file sort pays for the move's syncs
// alone. A power cut in that moment loses only the learning, never a file. The
// log's first record names the document it continues (its size and CRC-32). At
// start-up the document is read and the records of a log that names it are applied
// in order: a torn final record was never acknowledged and is dropped, a damaged
// record followed by intact ones is refused like a damaged document and both files
// are left as they are. A log that names another document is what a fold leaves
// when it is cut short after the document was replaced: the document already holds
// its records, and it is ignored.
//
// Folding writes the whole state with the document writer (atomic replace, file
// and folder synced) and only then starts a fresh log naming it. It happens when the
// log has grown past a share of the document, on the first save after start-up
// found no usable log (none, a torn tail, one naming another document), and after a
// failed append, so a record whose sync failed is never built upon.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "model/app_state.h"
#include "operations/journal_log.h"

namespace kelo {

class StateStore {
public:
    static constexpr std::string_view kLogDamaged =
        "The settings log is damaged. File operations are disabled; state.json and its log were left as they are.";

    explicit StateStore(std::filesystem::path url, LogCalls calls = LogCalls::system());

    const std::filesystem::path& url() const { return url_; }
    std::filesystem::path logUrl() const;

    // The document with the log's records applied, or `makeDefault()` when there is no
    // document. Read and decoding errors reach the caller unchanged; a damaged log is
    // refused with kLogDamaged. Nothing is written.
    AppState load(const std::function<AppState()>& makeDefault);

    // Makes `next` durable, `current` being what was last loaded or saved. When this
    // returns the change survives a crash; when it throws, a restart finds `current`
    // (or, after a sync that failed, possibly `next`), never anything else. With
    // `withNext` the record is only written: a crash of the process keeps it, a power
    // cut before the next sync may drop it (and any later unsynced one) again.
    void save(const AppState& current, const AppState& next, JournalLog::Sync sync = JournalLog::Sync::now);
    // Makes every record written so far durable; a failure leaves the log broken, so
    // the next save folds.
    void flush();

    // Writes the whole state into the document and starts a fresh log.
    void fold(const AppState& state);

private:
    bool foldDue() const;

    std::filesystem::path url_;
    LogCalls calls_;
    JournalLog log_;  // broken (closed) until the first save appends or folds
    std::uint64_t documentBytes_ = 0;
};

}  // namespace kelo
