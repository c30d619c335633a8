// The ZIP cleanup ledger ("zip-cleanup.json"): each candidate ZIP of the rule's
// folder by name and file identity, so a replaced or changed ZIP starts its wait
// again, plus the newest cleanup events. Plain values; the engine owns the copy.
// The rules over it are pure functions of their arguments: any thread may call them.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "model/date.h"
#include "model/file_record.h"
#include "model/json_codec.h"
#include "model/settings.h"
#include "model/uuid.h"

namespace kelo {

struct ZipCleanupEntry {
    FileIdentity identity;
    Date firstSeen;
    bool excluded = false;  // present when the rule was switched on: never cleaned

    friend bool operator==(const ZipCleanupEntry&, const ZipCleanupEntry&) = default;
};

struct ZipCleanupEvent {
    Uuid id;
    std::string filename;
    std::string sourcePath;
    Date date;

    friend bool operator==(const ZipCleanupEvent&, const ZipCleanupEvent&) = default;
};

struct ZipCleanupLedger {
    static constexpr std::size_t kMaximumEvents = 100;

    Uuid ruleID;
    std::string rootID;  // identifies the folder itself, so a replaced folder is noticed
    std::map<std::string, ZipCleanupEntry> entries;  // by file name
    std::vector<ZipCleanupEvent> events;             // oldest first

    // A new ledger for a rule just switched on: every ZIP already there is excluded.
    static ZipCleanupLedger baseline(const Uuid& ruleID, const std::string& rootID, const std::vector<FileRecord>& files,
                                     const std::filesystem::path& root, Date now);

    // Brings the entries up to date with the ZIPs present now. A replaced folder is
    // baselined again; a ZIP replaced or changed since the last look waits again.
    void observe(const std::vector<FileRecord>& files, const std::filesystem::path& root, const std::string& rootID,
                 Date now);

    // A ZIP directly inside `root` whose name does not begin with ".".
    static bool includes(const FileRecord& file, const std::filesystem::path& root);

    // True once the file has waited a day unchanged under this rule, and has been
    // quiet for a minute.
    bool due(const FileRecord& file, const ZipCleanupRule& rule, const std::filesystem::path& root, Date now) const;

    // Records one cleaned ZIP, keeping the newest kMaximumEvents events.
    void recordCleanup(const FileRecord& file, Date now);

    // Entries still waiting to be cleaned.
    std::size_t waiting() const;

    friend bool operator==(const ZipCleanupLedger&, const ZipCleanupLedger&) = default;
};

inline constexpr double kZipCleanupWait = 86'400;  // seconds a new ZIP waits unchanged
inline constexpr double kZipQuietTime = 60;        // seconds since its last change

inline constexpr std::string_view kUnreadableZipLedgerStatus =
    "Không đọc được sổ dọn ZIP. Chưa dọn tệp nào; tắt rồi bật lại quy tắc để khởi tạo lại.";

void to_json(Json& out, const ZipCleanupEntry& value);
void from_json(const Json& in, ZipCleanupEntry& value);
void to_json(Json& out, const ZipCleanupEvent& value);
void from_json(const Json& in, ZipCleanupEvent& value);
void to_json(Json& out, const ZipCleanupLedger& value);
void from_json(const Json& in, ZipCleanupLedger& value);

}  // namespace kelo
