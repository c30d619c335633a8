// What the user does with an AI suggestion: dismiss it, accept its project (the
// file is sorted there exactly like a manual sort: planned, validated, journaled,
// executed, undoable from History), or rename the file to the suggested name
// through the same reviewed rename as a manual one. Engine thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/engine.h"

namespace kelo {

inline constexpr std::string_view kAISuggestionGone = "AI suggestion no longer available.";
inline constexpr std::string_view kAIFileChangedBeforeAssign = "File changed. Refresh before assigning it.";
inline constexpr std::string_view kAIFileInProject = "This file is already inside a project. Use reviewed rename only.";
inline constexpr std::string_view kAINoProject = "AI did not identify an available project. Choose one manually.";

namespace AICommands {

// Marks the record "dismissed"; its saved version is never sent again.
SnapshotPtr dismissAI(Engine& engine, const Uuid& record);

// Sorts the file of a "suggested" record into the advised project and category
// through the manual sort; the record follows the file and becomes "dismissed".
SnapshotPtr acceptAIProject(Engine& engine, const Uuid& record);

// Renames the record's file to `name` (the suggested filename when absent) through
// the reviewed rename plan; the record follows and becomes "dismissed".
SnapshotPtr aiRename(Engine& engine, const Uuid& record, const std::optional<std::string>& name = std::nullopt);

}  // namespace AICommands

}  // namespace kelo
