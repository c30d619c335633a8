// Human-readable output of snapshots for a terminal. Pure formatting.
#pragma once

#include <ostream>

#include "engine/snapshot.h"

namespace kelo::cli {

// Each inbox file with its state, top project, score and reasons, then messages.
void printInbox(std::ostream& out, const Snapshot& snapshot);
// What a file command did, how to go on (dry run, name conflicts), then the inbox.
void printRun(std::ostream& out, const Snapshot& snapshot);
// The batches newest first with their counts and undo ids.
void printHistory(std::ostream& out, const Snapshot& snapshot);
void printSettings(std::ostream& out, const Snapshot& snapshot);
void printProjects(std::ostream& out, const Snapshot& snapshot);
void printGrants(std::ostream& out, const Snapshot& snapshot);
// The messages, then the standing issues.
void printMessages(std::ostream& out, const Snapshot& snapshot);

}  // namespace kelo::cli
