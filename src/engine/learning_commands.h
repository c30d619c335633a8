// The user's learning commands: confirm or reject a suggestion without moving the
// file, leave a file alone, ignore a cluster of files, restore what was ignored,
// reset learning and take back one decision. Each saves the state before it takes
// effect, clears the classification cache and returns a snapshot whose messages say
// what happened. None of them touches a file. Free functions over the Engine;
// engine thread only.
//
// Ignored files keep their classification in the snapshot (so the front ends can
// still show them, marked), but nothing offers them for sorting: `isIgnored` is the
// one test every command that picks files on its own (such as cleaning every
// "Ready" file) must apply. A file that changes gets a new fingerprint and is
// offered again.
#pragma once

#include <filesystem>
#include <string>

#include "engine/engine.h"

namespace kelo {

// Whether the user chose to leave this very version of the file alone.
bool isIgnored(const AppState& state, const FileRecord& file);

namespace LearningCommands {

// Records that the file belongs to the project (and stores that as the file's
// assignment, so it becomes "Ready" for it), or that it does not (dropping an
// assignment of the file to that project). The learning is keyed by the file's
// name, so files named alike score accordingly from now on.
SnapshotPtr feedback(Engine& engine, const std::filesystem::path& file, const std::string& project, bool confirmed);

// Leaves this version of the file alone: it is no longer offered.
SnapshotPtr leaveAlone(Engine& engine, const std::filesystem::path& file);

// Stops offering the cluster of files that share this token (folded) as a new
// project.
SnapshotPtr ignoreCluster(Engine& engine, const std::string& token);

// Forgets every ignored file and cluster.
SnapshotPtr restoreIgnored(Engine& engine);

// Forgets everything learned: associations and decisions.
SnapshotPtr resetLearning(Engine& engine);

// Takes back one recorded decision, by its id. Learning only: an assignment made
// when it was recorded stays.
SnapshotPtr reverseFeedback(Engine& engine, const std::string& id);

}  // namespace LearningCommands
}  // namespace kelo
