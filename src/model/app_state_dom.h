// Reading "state.json" straight from its parse: the learning and the assignments,
// which grow with every decision, are read without a tree of nlohmann values; the
// short parts (projects, grants, settings) go through their usual decoders. Any
// thread may call it on its own document.
#pragma once

#include "model/app_state.h"
#include "model/json_dom.h"

namespace kelo {

void from_dom(json_dom::Element in, Association& value);
void from_dom(json_dom::Element in, Feedback& value);
void from_dom(json_dom::Element in, LearningData& value);
void from_dom(json_dom::Element in, Assignment& value);
void from_dom(json_dom::Element in, SharedMap<Assignment>& value);
void from_dom(json_dom::Element in, AppState& value);

// decodeValue<AppState> of the document, with the same result and the same refusals.
AppState decodeAppState(const ParsedDocument& document);

}  // namespace kelo
