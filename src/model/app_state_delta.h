// The difference between two AppStates as one small JSON value, and its application:
// what "state.log" records so that a change to one project or one decision is not
// paid for by rewriting every learned decision. Pure functions; any thread may call
// them.
//
// A delta names only the parts that changed. Lists (projects, associations,
// feedback) give the positions removed from the old list, the positions of the
// result whose value changed, and the values appended; maps and sets give the keys
// set or removed; the small parts (grants, settings, version) are written whole.
#pragma once

#include <optional>

#include "model/app_state.h"
#include "model/json_codec.h"

namespace kelo {

// What turns `before` into `after`, or nothing when they are equal.
std::optional<Json> stateDelta(const AppState& before, const AppState& after);

// Applies a delta made by stateDelta from the state `state` holds. A delta that does
// not fit it (a position past the end, a value of the wrong type) throws a
// DecodingError and may leave `state` part-changed.
void applyStateDelta(AppState& state, const Json& delta);

}  // namespace kelo
