// The ZIP cleanup ledger ("zip-cleanup.json"): each candidate ZIP of the rule's
// folder by name and file identity, so a replaced or changed ZIP starts its wait
// again, plus the newest cleanup events. Plain values; the engine owns the copy.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "model/date.h"
#include "model/file_record.h"
#include "model/json_codec.h"
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

    friend bool operator==(const ZipCleanupLedger&, const ZipCleanupLedger&) = default;
};

inline constexpr std::string_view kUnreadableZipLedgerStatus =
    "Không đọc được sổ dọn ZIP. Chưa dọn tệp nào; tắt rồi bật lại quy tắc để khởi tạo lại.";

void to_json(Json& out, const ZipCleanupEntry& value);
void from_json(const Json& in, ZipCleanupEntry& value);
void to_json(Json& out, const ZipCleanupEvent& value);
void from_json(const Json& in, ZipCleanupEvent& value);
void to_json(Json& out, const ZipCleanupLedger& value);
void from_json(const Json& in, ZipCleanupLedger& value);

}  // namespace kelo
