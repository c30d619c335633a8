// The user's handoff and private-storage commands: pack a project into a handoff
// ZIP in an export folder, and report what Kelo's private storage holds. Scans call
// settleHandoffs to finish interrupted publications and sweep abandoned stages.
// Free functions over the Engine; engine thread only (packing reports progress
// from that thread and stops when `stop` is requested).
#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "housekeeping/handoff.h"

namespace kelo::HandoffCommands {

// The project's inventory as the user reviews it before a handoff.
ProjectInventory review(Engine& engine, const std::string& project);

// Packs and publishes; the snapshot's message says what happened. Refusals throw.
SnapshotPtr createHandoff(Engine& engine, const std::string& project, const ProjectInventory& reviewed,
                          const std::filesystem::path& exportFolder, const HandoffProgress& progress = {},
                          std::stop_token stop = {});

PrivateStorageUsage storage(Engine& engine);

// Run by every scan: the lines for the scan's messages.
std::vector<std::string> settleHandoffs(Engine& engine);

}  // namespace kelo::HandoffCommands
