// What the companion offers: the next file to sort with the project Kelo would put
// it in, and what it makes of a file dropped on it. Pure functions of a snapshot;
// any thread may call them.
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "engine/snapshot.h"

namespace kelo::gui {

struct Suggestion {
    std::filesystem::path file;
    std::string fingerprint;
    Uuid project;
    ConfidenceState state = ConfidenceState::noIdea;
};

// The file most worth sorting next: Ready before Probably, then the higher score,
// then the snapshot's order. Files left alone, files that cannot be moved and
// fingerprints in `skipped` are passed over.
std::optional<Suggestion> topSuggestion(const Snapshot& snapshot, const std::set<std::string>& skipped = {});

// A dropped file is only ever offered when it lies at the top of an approved inbox
// (a watched folder), since only there does Kelo look for files to sort. Dropping a
// file the user once left alone offers it again: the drop asks for it.
enum class DropVerdict {
    notInInbox,  // left alone: outside every watched folder
    notListed,   // in an inbox, but the last scan did not list it (yet)
    noProject,   // listed, but Kelo has no project for it
    offered,     // listed with a project: the suggestion is filled in
};

struct DropResult {
    DropVerdict verdict = DropVerdict::notInInbox;
    std::optional<Suggestion> suggestion;
};

DropResult judgeDrop(const Snapshot& snapshot, const std::filesystem::path& file);

}  // namespace kelo::gui
