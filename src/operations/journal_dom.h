// Reading "journal.json" straight from its parse, without a tree of nlohmann values
// for its entries. Any thread may call it on its own document.
#pragma once

#include <cstdint>
#include <optional>

#include "model/json_dom.h"
#include "operations/operation_journal.h"

namespace kelo {

void from_dom(json_dom::Element in, FileIdentity& value);
void from_dom(json_dom::Element in, PlannedOperation& value);
void from_dom(json_dom::Element in, JournalEntry& value);
void from_dom(json_dom::Element in, JournalDocument& value);

// decodeValue<JournalDocument> of the document, with the same result and refusals.
JournalDocument decodeJournalDocument(const ParsedDocument& document);

// The document's integer "schemaVersion" (the last, if repeated) as nlohmann reads
// it, or nothing when the root is no object or has no integer version.
std::optional<std::int64_t> journalVersion(const ParsedDocument& document);

}  // namespace kelo
