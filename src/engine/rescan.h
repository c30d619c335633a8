// The end of every command that moved, renamed or trashed files: the inboxes
// changed under the last scan, so list them again and return the new snapshot with
// the command's own lines first. Engine thread only.
#pragma once

#include <string>
#include <vector>

#include "engine/engine.h"

namespace kelo {

SnapshotPtr rescanWith(Engine& engine, std::vector<std::string> messages);

}  // namespace kelo
