#include "housekeeping/zip_cleanup_ledger.h"

namespace kelo {

void to_json(Json& out, const ZipCleanupEntry& e) {
    JsonWriter w(out);
    w.put("identity", e.identity);
    w.put("firstSeen", e.firstSeen);
    w.put("excluded", e.excluded);
}

void from_json(const Json& in, ZipCleanupEntry& e) {
    JsonReader r(in);
    e.identity = r.required<FileIdentity>("identity");
    e.firstSeen = r.required<Date>("firstSeen");
    e.excluded = r.required<bool>("excluded");
}

void to_json(Json& out, const ZipCleanupEvent& e) {
    JsonWriter w(out);
    w.put("id", e.id);
    w.put("filename", e.filename);
    w.put("sourcePath", e.sourcePath);
    w.put("date", e.date);
}

void from_json(const Json& in, ZipCleanupEvent& e) {
    JsonReader r(in);
    e.id = r.required<Uuid>("id");
    e.filename = r.required<std::string>("filename");
    e.sourcePath = r.required<std::string>("sourcePath");
    e.date = r.required<Date>("date");
}

void to_json(Json& out, const ZipCleanupLedger& l) {
    JsonWriter w(out);
    w.put("ruleID", l.ruleID);
    w.put("rootID", l.rootID);
    w.put("entries", l.entries);
    w.put("events", l.events);
}

void from_json(const Json& in, ZipCleanupLedger& l) {
    JsonReader r(in);
    l.ruleID = r.required<Uuid>("ruleID");
    l.rootID = r.required<std::string>("rootID");
    l.entries = r.required<std::map<std::string, ZipCleanupEntry>>("entries");
    l.events = r.required<std::vector<ZipCleanupEvent>>("events");
}

}  // namespace kelo
