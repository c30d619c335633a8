#include "engine/state_store.h"

#include <zlib.h>

#include <algorithm>
#include <optional>

#include "model/app_state_delta.h"
#include "model/app_state_dom.h"
#include "model/kelo_error.h"
#include "store/local_store.h"

namespace kelo {

namespace {

constexpr std::uint64_t kFoldMinimum = 1024 * 1024;
constexpr std::uint64_t kFoldShare = 4;  // fold once the log passes a quarter of the document

constexpr const char* kDocumentKey = "document";
constexpr const char* kDeltaKey = "delta";

std::string compact(const Json& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::uint64_t checksum(std::string_view bytes) {
    return crc32_z(crc32(0L, Z_NULL, 0), reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
}

// The record that starts a log: which document its deltas continue.
Json documentMark(std::string_view bytes) {
    Json mark = Json::object();
    mark[kDocumentKey] = Json{{"bytes", bytes.size()}, {"crc32", checksum(bytes)}};
    return mark;
}

// Whether the first record of a log names the document `bytes`; a first record that
// is no document mark is not a log this store wrote.
bool namesDocument(const Json& record, std::string_view bytes) {
    if (!record.is_object() || !record.contains(kDocumentKey)) throw DecodingError(kDocumentKey, "missing");
    JsonReader mark(record[kDocumentKey]);
    return mark.required<std::uint64_t>("bytes") == bytes.size() && mark.required<std::uint64_t>("crc32") == checksum(bytes);
}

}  // namespace

StateStore::StateStore(std::filesystem::path url, LogCalls calls) : url_(std::move(url)), calls_(std::move(calls)) {}

std::filesystem::path StateStore::logUrl() const {
    std::filesystem::path log = url_;
    log.replace_extension(".log");
    return log;
}

AppState StateStore::load(const std::function<AppState()>& makeDefault) {
    log_ = JournalLog();
    const auto bytes = store_detail::readIfPresent(url_);
    if (!bytes) return makeDefault();
    AppState state = decodeAppState(ParsedDocument(*bytes));
    documentBytes_ = bytes->size();

    const auto logBytes = store_detail::readIfPresent(logUrl());
    if (!logBytes) return state;
    const JournalLog::Contents log = JournalLog::read(*logBytes);
    if (log.damaged) throw KeloError::unsafe(std::string(kLogDamaged));
    // An empty log, or one that continues another document, adds nothing.
    if (log.records.empty()) return state;
    try {
        if (!namesDocument(parseDocument(log.records.front()), *bytes)) return state;
        for (std::size_t i = 1; i < log.records.size(); ++i) {
            const Json record = parseDocument(log.records[i]);
            if (!record.is_object() || !record.contains(kDeltaKey)) throw DecodingError(kDeltaKey, "missing");
            applyStateDelta(state, record[kDeltaKey]);
        }
    } catch (const DecodingError&) {
        // An intact checksum around a record that does not apply: the log was not
        // written by this store, or not for this document.
        throw KeloError::unsafe(std::string(kLogDamaged));
    }
    // Appends may follow only intact records; a torn tail waits for the first save,
    // which folds.
    if (log.intactBytes == logBytes->size()) log_ = JournalLog::openExisting(logUrl(), log.intactBytes, calls_);
    return state;
}

bool StateStore::foldDue() const { return log_.size() >= std::max(kFoldMinimum, documentBytes_ / kFoldShare); }

void StateStore::save(const AppState& current, const AppState& next, JournalLog::Sync sync) {
    if (log_.broken() || foldDue()) return fold(next);
    const auto delta = stateDelta(current, next);
    if (!delta) return;
    Json record = Json::object();
    record[kDeltaKey] = *delta;
    log_.append(compact(record), sync);  // a failure leaves the log broken: the next save folds
}

void StateStore::flush() {
    if (!log_.broken()) log_.sync();
}

void StateStore::fold(const AppState& state) {
    // Until both steps succeed nothing more may be appended: a crash between them
    // leaves the new document beside a log that names the old one, which is ignored.
    log_ = JournalLog();
    const std::string text = documentText(state);
    store_detail::writeDurably(url_, text);
    documentBytes_ = text.size();
    JournalLog log = JournalLog::createEmpty(logUrl(), calls_);
    log.append(compact(documentMark(text)));
    log_ = std::move(log);
}

}  // namespace kelo
