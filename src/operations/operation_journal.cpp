#include "operations/operation_journal.h"

#include <algorithm>

#include <unordered_set>

#include "model/kelo_error.h"
#include "operations/journal_dom.h"
#include "store/local_store.h"

namespace kelo {

namespace {

constexpr const char* kUnsupportedVersion = "Unsupported journal version. Operations disabled.";
constexpr const char* kAlreadyRecorded = "Operation already recorded. Generate a fresh plan.";
constexpr const char* kMissing = "Operation missing from journal.";
constexpr const char* kLogMismatch =
    "The journal's log does not match journal.json. Operations disabled; both files were left as they are.";
constexpr const char* kLogDamaged =
    "The journal's log is damaged. Operations disabled; journal.json and its log were left as they are.";
constexpr const char* kDuplicateIds =
    "The journal lists one operation twice. Operations disabled; journal.json was left as it is.";
constexpr const char* kNotDurable =
    "The journal could not be made durable. Nothing more is recorded until it is written again.";

// Log payloads: {"prepare": [entry, ...]} or {"mark": {"id", "status", "error", "outcome"}}.
constexpr const char* kPrepareKey = "prepare";
constexpr const char* kMarkKey = "mark";

struct MarkRecord {
    Uuid id;
    OperationStatus status = OperationStatus::planned;
    std::optional<std::string> error;
    std::optional<OperationOutcome> outcome;
};

void to_json(Json& out, const MarkRecord& m) {
    JsonWriter w(out);
    w.put("id", m.id);
    w.put("status", m.status);
    w.put("error", m.error);
    w.put("outcome", m.outcome);
}

void from_json(const Json& in, MarkRecord& m) {
    JsonReader r(in);
    m.id = r.required<Uuid>("id");
    m.status = r.required<OperationStatus>("status");
    m.error = r.optional<std::string>("error");
    m.outcome = r.optional<OperationOutcome>("outcome");
}

std::string compact(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void to_json(Json& out, const JournalEntry& e) {
    JsonWriter w(out);
    w.put("operation", e.operation);
    w.put("timestamp", e.timestamp);
    w.put("status", e.status);
    w.put("error", e.error);
    w.put("outcome", e.outcome);
}

void from_json(const Json& in, JournalEntry& e) {
    JsonReader r(in);
    e.operation = r.required<PlannedOperation>("operation");
    e.timestamp = r.required<Date>("timestamp");
    e.status = r.required<OperationStatus>("status");
    e.error = r.optional<std::string>("error");
    e.outcome = r.optional<OperationOutcome>("outcome");
}

void to_json(Json& out, const JournalDocument& d) {
    JsonWriter w(out);
    w.put("schemaVersion", d.schemaVersion);
    w.put("entries", d.entries);
}

namespace {

// One entry laid out as formatDocument lays out encodeValue(entry) at `level`, member
// by member in sorted key order, without building its tree. Kept in step with the
// to_json functions by a test that compares the bytes.
void appendEntry(std::string& out, const JournalEntry& e, int level) {
    using json_layout::appendKey;
    using json_layout::appendValue;
    using json_layout::closeObject;
    const PlannedOperation& o = e.operation;
    bool first = true;
    if (e.error) {
        appendKey(out, "error", level, true);
        json_layout::appendText(out, *e.error);
        first = false;
    }
    appendKey(out, "operation", level, first);
    appendKey(out, "batchID", level + 1, true);
    appendValue(out, encodeValue(o.batchID), level + 2);
    appendKey(out, "destination", level + 1, false);
    json_layout::appendText(out, fileUrl(o.destination));
    if (o.expected) {
        appendKey(out, "expected", level + 1, false);
        appendKey(out, "device", level + 2, true);
        appendValue(out, Json(o.expected->device), level + 3);
        appendKey(out, "inode", level + 2, false);
        appendValue(out, Json(o.expected->inode), level + 3);
        appendKey(out, "modified", level + 2, false);
        appendValue(out, encodeValue(o.expected->modified), level + 3);
        appendKey(out, "size", level + 2, false);
        appendValue(out, Json(o.expected->size), level + 3);
        closeObject(out, level + 2);
    }
    appendKey(out, "id", level + 1, false);
    appendValue(out, encodeValue(o.id), level + 2);
    if (o.reverses) {
        appendKey(out, "reverses", level + 1, false);
        appendValue(out, encodeValue(*o.reverses), level + 2);
    }
    appendKey(out, "source", level + 1, false);
    json_layout::appendText(out, fileUrl(o.source));
    appendKey(out, "type", level + 1, false);
    appendValue(out, encodeValue(o.type), level + 2);
    closeObject(out, level + 1);
    if (e.outcome) {
        appendKey(out, "outcome", level, false);
        appendValue(out, encodeValue(*e.outcome), level + 1);
    }
    appendKey(out, "status", level, false);
    appendValue(out, encodeValue(e.status), level + 1);
    appendKey(out, "timestamp", level, false);
    appendValue(out, encodeValue(e.timestamp), level + 1);
    closeObject(out, level);
}

}  // namespace

std::string documentText(const JournalDocument& d) {
    constexpr std::size_t kTypicalEntryBytes = 640;
    std::string out;
    out.reserve(d.entries.size() * kTypicalEntryBytes);
    json_layout::appendKey(out, "entries", 0, true);
    if (d.entries.empty()) {
        out += "[]";
    } else {
        out += '[';
        for (std::size_t i = 0; i < d.entries.size(); ++i) {
            out += i == 0 ? "\n    " : ",\n    ";
            appendEntry(out, d.entries[i], 2);
        }
        out += "\n  ]";
    }
    json_layout::appendKey(out, "schemaVersion", 0, false);
    json_layout::appendValue(out, encodeValue(d.schemaVersion), 1);
    json_layout::closeObject(out, 0);
    out += '\n';
    return out;
}

void from_json(const Json& in, JournalDocument& d) {
    JsonReader r(in);
    d.schemaVersion = r.required<std::int64_t>("schemaVersion");
    d.entries = r.required<std::vector<JournalEntry>>("entries");
}

OperationJournal::FoundDocument OperationJournal::readDocument(const std::filesystem::path& url) {
    const std::optional<std::string> bytes = store_detail::readIfPresent(url);
    if (!bytes) return {};
    const ParsedDocument parsed(*bytes);
    // The version decides how the rest is read, so it is checked first.
    if (const auto version = journalVersion(parsed); version && *version != JournalDocument::kSupportedVersion)
        throw KeloError::unsafe(kUnsupportedVersion);
    return {decodeJournalDocument(parsed), bytes->size()};
}

OperationJournal::OperationJournal(std::filesystem::path url, Clock clock, LogCalls calls)
    : OperationJournal(url, readDocument(url), std::move(clock), std::move(calls)) {}

OperationJournal::OperationJournal(std::filesystem::path url, FoundDocument found, Clock clock, LogCalls calls)
    : url_(std::move(url)), clock_(std::move(clock)), calls_(std::move(calls)) {
    const bool documentFound = found.document.has_value();
    if (documentFound) document_ = std::move(*found.document);
    index_.reserve(document_.entries.size());
    for (std::size_t i = 0; i < document_.entries.size(); ++i)
        if (!index_.emplace(document_.entries[i].operation.id, i).second) throw KeloError::unsafe(kDuplicateIds);

    // Intact records beside the document are appended to as they are, until a fold is
    // due. A missing document, a torn tail (which appends must not follow) or a log
    // due for folding is folded now; a missing log is started empty.
    const std::optional<std::string> logBytes = store_detail::readIfPresent(logUrl());
    bool tornTail = false;
    std::size_t intactBytes = 0;
    if (logBytes) {
        const JournalLog::Contents log = JournalLog::read(*logBytes);
        if (log.damaged) throw KeloError::unsafe(kLogDamaged);
        for (const std::string& payload : log.records) replay(payload);
        tornTail = log.intactBytes != logBytes->size();
        intactBytes = log.intactBytes;
    }
    if (documentFound) documentBytes_ = found.bytes;
    if (documentFound && logBytes && !logBytes->empty() && !tornTail &&
        intactBytes < std::max(kFoldMinimum, documentBytes_ / kFoldShare)) {
        // Intact records beside the document: the journal as it was left, appended to.
        unfolded_ = true;
        log_ = JournalLog::openExisting(logUrl(), intactBytes, calls_);
    } else if (!documentFound || (logBytes && !logBytes->empty())) {
        unfolded_ = true;
        checkpoint();
    } else if (logBytes) {
        log_ = JournalLog::openEmpty(logUrl(), calls_);
    } else {
        log_ = JournalLog::createEmpty(logUrl(), calls_);
    }
}

std::filesystem::path OperationJournal::logUrl() const {
    std::filesystem::path log = url_;
    log.replace_extension(".log");
    return log;
}

void OperationJournal::replay(const std::string& payload) {
    const Json record = parseDocument(payload);
    if (record.contains(kPrepareKey)) {
        const auto entries = decodeValue<std::vector<JournalEntry>>(record[kPrepareKey]);
        // The document may already hold this record: a fold wrote the document and
        // was interrupted before it emptied the log. A fold is atomic, so either every
        // entry of the record is present, unchanged, or none is.
        std::size_t present = 0;
        for (const JournalEntry& entry : entries) {
            auto it = index_.find(entry.operation.id);
            if (it == index_.end()) continue;
            const JournalEntry& existing = document_.entries[it->second];
            if (existing.operation != entry.operation || existing.timestamp != entry.timestamp)
                throw KeloError::unsafe(kLogMismatch);
            ++present;
        }
        if (present == entries.size()) return;
        if (present != 0) throw KeloError::unsafe(kLogMismatch);
        apply(entries);
    } else if (record.contains(kMarkKey)) {
        const auto mark = decodeValue<MarkRecord>(record[kMarkKey]);
        auto it = index_.find(mark.id);
        if (it == index_.end()) throw KeloError::unsafe(kLogMismatch);
        // Marks carry the final values, so applying one again is harmless; replayed in
        // order they leave each entry as the last acknowledged mark left it.
        applyMark(it->second, mark.status, mark.error, mark.outcome);
    } else {
        throw KeloError::unsafe(kLogMismatch);
    }
}

void OperationJournal::requireWritable() const {
    if (log_.broken()) throw KeloError::unsafe(kNotDurable);
}

void OperationJournal::prepare(const std::vector<PlannedOperation>& operations, JournalLog::Sync sync) {
    requireWritable();
    std::unordered_set<Uuid> seen;
    for (const PlannedOperation& operation : operations) {
        if (index_.contains(operation.id) || !seen.insert(operation.id).second)
            throw KeloError::unsafe(kAlreadyRecorded);
    }
    const Date now = clock_();
    std::vector<JournalEntry> entries;
    entries.reserve(operations.size());
    for (const PlannedOperation& operation : operations)
        entries.push_back(JournalEntry{operation, now, OperationStatus::planned, std::nullopt, std::nullopt});

    Json record = Json::object();
    record[kPrepareKey] = encodeValue(entries);
    unfolded_ = true;
    log_.append(compact(record), sync);  // written (and unless told to wait, durable) before memory changes
    apply(entries);
}

void OperationJournal::apply(const std::vector<JournalEntry>& prepared) {
    for (const JournalEntry& entry : prepared) {
        index_.emplace(entry.operation.id, document_.entries.size());
        changed_.push_back(document_.entries.size());
        document_.entries.push_back(entry);
    }
}

void OperationJournal::mark(const Uuid& id, OperationStatus status, std::optional<std::string> error,
                            std::optional<OperationOutcome> outcome, JournalLog::Sync sync) {
    requireWritable();
    auto it = index_.find(id);
    if (it == index_.end()) throw KeloError::unsafe(kMissing);
    const std::optional<OperationOutcome> kept =
        status == OperationStatus::failed ? std::optional(outcome.value_or(OperationOutcome::failed)) : std::nullopt;

    Json record = Json::object();
    record[kMarkKey] = encodeValue(MarkRecord{id, status, error, kept});
    unfolded_ = true;
    log_.append(compact(record), sync);
    applyMark(it->second, status, std::move(error), kept);
}

void OperationJournal::applyMark(std::size_t position, OperationStatus status, std::optional<std::string> error,
                                 std::optional<OperationOutcome> outcome) {
    JournalEntry& entry = document_.entries[position];
    changed_.push_back(position);
    entry.status = status;
    entry.error = std::move(error);
    entry.outcome = outcome;
}

void OperationJournal::checkpoint() {
    // Nothing recorded since the last fold and the log empty and open: the document on
    // disk is already the journal, and rewriting it would change nothing.
    if (!unfolded_ && !log_.broken()) return;
    // A mark still waiting for a sync needs none here: the fold below carries it, and
    // if the fold fails, reconcile rebuilds it from the disk as after a crash.
    // Until both steps succeed nothing more may be appended: a log replaced on disk
    // but not reopened would take appends into a file no longer at its path.
    log_ = JournalLog();
    // The document must be durable before the log that it now contains is emptied;
    // a crash in between replays records the document already holds, which is harmless.
    LocalStore<JournalDocument>(url_).save(document_);
    documentBytes_ = std::filesystem::file_size(url_);
    log_ = JournalLog::createEmpty(logUrl(), calls_);
    unfolded_ = false;
}

bool OperationJournal::foldDue() const {
    return log_.size() >= std::max(kFoldMinimum, documentBytes_ / kFoldShare);
}

void OperationJournal::settle(JournalLog::Sync sync) {
    if (log_.broken() || foldDue()) return checkpoint();
    if (sync == JournalLog::Sync::now) log_.sync();
}

void OperationJournal::flush() {
    if (!log_.broken()) log_.sync();
}

void OperationJournal::ensureWritable() {
    if (log_.broken()) checkpoint();
}

const JournalEntry* OperationJournal::entry(const Uuid& id) const {
    auto it = index_.find(id);
    return it == index_.end() ? nullptr : &document_.entries[it->second];
}

std::vector<std::size_t> OperationJournal::positionsWithStatus(std::initializer_list<OperationStatus> statuses) const {
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < document_.entries.size(); ++i) {
        for (OperationStatus status : statuses) {
            if (document_.entries[i].status == status) {
                positions.push_back(i);
                break;
            }
        }
    }
    return positions;
}

bool OperationJournal::isConsistent() const {
    if (index_.size() != document_.entries.size()) return false;
    for (const auto& [id, position] : index_) {
        if (position >= document_.entries.size() || document_.entries[position].operation.id != id) return false;
    }
    return true;
}

}  // namespace kelo
