// The end of a command that changed the inboxes outside a plan (the Trash) or the
// approved folders themselves: list them again and return the new snapshot with the
// command's own lines first. A command that ran a plan ends with
// Engine::refreshAfterBatch instead. Engine thread only.
#pragma once

#include <string>
#include <vector>

#include "engine/engine.h"

namespace kelo {

SnapshotPtr rescanWith(Engine& engine, std::vector<std::string> messages);

}  // namespace kelo
