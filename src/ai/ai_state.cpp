#include "ai/ai_state.h"

namespace kelo {

bool AIState::closeInterruptedRequests() {
    bool changed = false;
    for (auto& record : records) {
        if (record.status != AIRecordStatus::started) continue;
        record.status = AIRecordStatus::failed;
        record.note = std::string(kInterruptedRequestNote);
        changed = true;
    }
    return changed;
}

void to_json(Json& out, const AIConfiguration& c) {
    JsonWriter w(out);
    w.put("enabled", c.enabled);
    w.put("automatic", c.automatic);
    w.put("freeTierConfirmed", c.freeTierConfirmed);
    w.put("dataUseAcknowledged", c.dataUseAcknowledged);
    w.put("dailyLimit", c.dailyLimit);
    w.put("allowedFolders", c.allowedFolders);
    w.put("revision", c.revision);
}

void from_json(const Json& in, AIConfiguration& c) {
    JsonReader r(in);
    c.enabled = r.required<bool>("enabled");
    c.automatic = r.required<bool>("automatic");
    c.freeTierConfirmed = r.required<bool>("freeTierConfirmed");
    c.dataUseAcknowledged = r.required<bool>("dataUseAcknowledged");
    c.dailyLimit = r.required<std::int64_t>("dailyLimit");
    c.allowedFolders = r.required<std::vector<std::string>>("allowedFolders");
    c.revision = r.required<Uuid>("revision");
}

void to_json(Json& out, const AIAdvice& a) {
    JsonWriter w(out);
    w.put("projectID", a.projectID);
    w.put("category", a.category);
    w.put("filename", a.filename);
    w.put("reason", a.reason);
    w.put("confidence", a.confidence);
}

void from_json(const Json& in, AIAdvice& a) {
    JsonReader r(in);
    a.projectID = r.optional<Uuid>("projectID");
    a.category = r.required<Category>("category");
    a.filename = r.required<std::string>("filename");
    a.reason = r.required<std::string>("reason");
    a.confidence = r.required<AIConfidence>("confidence");
}

void to_json(Json& out, const AIRecord& a) {
    JsonWriter w(out);
    w.put("id", a.id);
    w.put("file", a.file);
    w.put("date", a.date);
    w.put("status", a.status);
    w.put("advice", a.advice);
    w.put("note", a.note);
}

void from_json(const Json& in, AIRecord& a) {
    JsonReader r(in);
    a.id = r.required<Uuid>("id");
    a.file = r.required<FileRecord>("file");
    a.date = r.required<Date>("date");
    a.status = r.required<AIRecordStatus>("status");
    a.advice = r.optional<AIAdvice>("advice");
    a.note = r.optional<std::string>("note");
}

void to_json(Json& out, const AIState& s) {
    JsonWriter w(out);
    w.put("schemaVersion", s.schemaVersion);
    w.put("configuration", s.configuration);
    w.put("records", s.records);
    w.put("usageDay", s.usageDay);
    w.put("requestsToday", s.requestsToday);
    w.put("pausedUntil", s.pausedUntil);
    w.put("lastRequestAt", s.lastRequestAt);
}

void from_json(const Json& in, AIState& s) {
    JsonReader r(in);
    s.schemaVersion = r.required<int>("schemaVersion");
    s.configuration = r.required<AIConfiguration>("configuration");
    s.records = r.required<std::vector<AIRecord>>("records");
    s.usageDay = r.required<std::string>("usageDay");
    s.requestsToday = r.required<std::int64_t>("requestsToday");
    s.pausedUntil = r.optional<Date>("pausedUntil");
    s.lastRequestAt = r.optional<Date>("lastRequestAt");
}

}  // namespace kelo
