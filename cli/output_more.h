// Human-readable output for the project-name suggestions and the learned decisions.
// Pure formatting.
#pragma once

#include <ostream>

#include "engine/snapshot.h"

namespace kelo::cli {

// Each suggested project name with the token to accept or defer it by, then messages.
void printSuggestions(std::ostream& out, const Snapshot& snapshot);
// Each recorded decision, oldest first, with the id that takes it back, then messages.
void printFeedback(std::ostream& out, const Snapshot& snapshot);

}  // namespace kelo::cli
