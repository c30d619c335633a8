// Human-readable output of snapshots for a terminal. Pure formatting.
#pragma once

#include <ostream>

#include "engine/snapshot.h"

namespace kelo::cli {

void printSettings(std::ostream& out, const Snapshot& snapshot);
void printProjects(std::ostream& out, const Snapshot& snapshot);
void printGrants(std::ostream& out, const Snapshot& snapshot);
// The messages, then the standing issues.
void printMessages(std::ostream& out, const Snapshot& snapshot);

}  // namespace kelo::cli
