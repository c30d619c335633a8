// The engine's online AI settings and its one writer of "online-ai.json": changing
// the configuration, persisting a new AIState, and the gate every manual request
// passes before anything is prepared. Free functions over the Engine; engine
// thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine.h"

namespace kelo {

inline constexpr std::string_view kAIDailyCapMessage = "Choose a local daily cap between 1 and 50 requests.";
inline constexpr std::string_view kAIFoldersNotApproved = "Choose only currently approved folders for online AI.";
inline constexpr std::string_view kInvalidAIStateMessage = "Invalid online AI state.";
inline constexpr std::string_view kAINotReadyForFile =
    "Enable online AI and choose this approved folder in Settings first.";
inline constexpr std::string_view kAIArchivedProject = "Reopen this archived project before using online AI.";
inline constexpr std::string_view kAIFileChanged = "File changed. Refresh before using AI.";
inline constexpr std::string_view kAIFileRecentlyModified =
    "File was recently modified. Wait until editing has stopped.";

namespace AICommands {

// A file must have been left alone this long before it may be sent.
inline constexpr double kQuietSeconds = 30;

// Validates the settings against the approved folders, gives them a fresh
// revision (so every prepared request becomes stale) and persists them.
SnapshotPtr configureAI(Engine& engine, AIConfiguration configuration);

// The only writer of "online-ai.json". Refuses while the stored document is
// damaged, and an invalid state; memory changes only after the write succeeded.
void persistAI(Engine& engine, const AIState& state);

// Throws the first reason `file` may not be sent: AI not ready or the folder not
// allowed, an archived project, a link in its path, a changed or still-busy file.
void validateAIFile(Engine& engine, const FileRecord& file, const AccessScope& scope);

// After a plan ran: records of files it moved or renamed follow them. Returns the
// reason when the updated records could not be saved (the plan's work stands).
std::optional<std::string> followPlan(Engine& engine, const OperationPlan& plan, const std::vector<Uuid>& completed);

// The approved folders as standardised paths, in grant order.
std::vector<std::filesystem::path> approvedRoots(const Engine& engine);

}  // namespace AICommands

}  // namespace kelo
