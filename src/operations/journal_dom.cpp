#include "operations/journal_dom.h"

namespace kelo {

// Each reader takes the keys its from_json takes, with the same types, asked for in
// the order the document holds them (sorted).

void from_dom(json_dom::Element in, FileIdentity& i) {
    const json_dom::DomReader r(in);
    i.device = r.required<std::uint64_t>("device");
    i.inode = r.required<std::uint64_t>("inode");
    i.modified = r.required<Date>("modified");
    i.size = r.required<std::uint64_t>("size");
}

void from_dom(json_dom::Element in, PlannedOperation& o) {
    const json_dom::DomReader r(in);
    o.batchID = r.required<Uuid>("batchID");
    o.destination = r.requiredUrl("destination");
    o.expected = r.optional<FileIdentity>("expected");
    o.id = r.required<Uuid>("id");
    o.reverses = r.optional<Uuid>("reverses");
    o.source = r.requiredUrl("source");
    o.type = r.required<OperationType>("type");
}

void from_dom(json_dom::Element in, JournalEntry& e) {
    const json_dom::DomReader r(in);
    e.error = r.optional<std::string>("error");
    e.operation = r.required<PlannedOperation>("operation");
    e.outcome = r.optional<OperationOutcome>("outcome");
    e.status = r.required<OperationStatus>("status");
    e.timestamp = r.required<Date>("timestamp");
}

void from_dom(json_dom::Element in, JournalDocument& d) {
    const json_dom::DomReader r(in);
    d.entries = r.required<std::vector<JournalEntry>>("entries");
    d.schemaVersion = r.required<std::int64_t>("schemaVersion");
}

JournalDocument decodeJournalDocument(const ParsedDocument& document) {
    return decodeDocument<JournalDocument>(document);
}

std::optional<std::int64_t> journalVersion(const ParsedDocument& document) {
    simdjson::dom::object root;
    if (document.root().get_object().get(root) != simdjson::SUCCESS) return std::nullopt;
    std::optional<std::int64_t> version;
    for (simdjson::dom::key_value_pair member : root) {
        if (member.key != "schemaVersion") continue;
        // Of repeated keys the last counts; an unsigned one is read as nlohmann's
        // get<std::int64_t> reads it.
        if (member.value.is_int64())
            version = member.value.get_int64().value_unsafe();
        else if (member.value.is_uint64())
            version = static_cast<std::int64_t>(member.value.get_uint64().value_unsafe());
        else
            version.reset();
    }
    return version;
}

}  // namespace kelo
