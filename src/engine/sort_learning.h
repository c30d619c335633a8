// What moving files into projects teaches Kelo, and how undoing the move takes it
// back. A completed move into a project records a confirmation (and a rejection of
// the project Kelo had suggested instead), stores the file's assignment under its
// new fingerprint and marks the project active.
//
// The feedback entry of a move carries the move's own operation id as its id. Ids
// are fresh for each operation, so the journal entry and the feedback entry name
// each other exactly: undoing the move (an undo operation whose `reverses` is that
// id) reverses exactly that entry, and the assignment stored under the fingerprint
// of the file at the place the move put it is dropped. Nothing is guessed from
// names or times, and the stored formats stay as they are.
//
// A project's `lastActivity` is the time of the latest move into it, which its
// feedback entry keeps. Undoing a move that was the project's latest activity sets
// it back to the latest move into the project that still stands (absent when none
// does), so an undone sort does not leave the project looking recently used. Free
// functions over the Engine; engine thread only.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "engine/engine.h"

namespace kelo::SortLearning {

// One planned move into a project, as the user decided it.
struct Decision {
    Uuid operation;  // the move's id; becomes the feedback entry's id
    FileRecord file;
    std::filesystem::path destination;
    Uuid project;
    Category category;
    std::optional<Uuid> rejected;  // the project Kelo had suggested instead
};

// The classification the current snapshot holds for this file, if any.
std::optional<Classification> classificationOf(Engine& engine, const FileRecord& file);

// The project Kelo suggested for the file when the user chose `chosen`: the leader
// of a classification that is not "No Idea", when it is another project. None for
// a file that was not classified (null).
std::optional<Uuid> rejectedSuggestion(const Classification* classification, const Uuid& chosen);

// Learns from the decisions whose moves completed in `result`; nothing from a dry
// run or from skipped or failed moves.
void learn(Engine& engine, const std::vector<Decision>& decisions, const BatchResult& result);

// After an undo plan ran: reverses the feedback entry of every move it put back and
// drops the assignment stored for it. Returns how many decisions were taken back.
std::size_t forgetUndone(Engine& engine, const OperationPlan& undoPlan, const BatchResult& result);

}  // namespace kelo::SortLearning
