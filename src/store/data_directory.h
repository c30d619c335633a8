// Where Kelo keeps its data, and the names of the files in it.
//
// The data directory is `--data-dir` when given, else $KELO_DATA_DIR, else
// $XDG_DATA_HOME/Kelo, else ~/.local/share/Kelo. Pure lookups plus one
// create-with-parents; any thread may call them.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace kelo {

namespace data_files {
inline constexpr std::string_view kSessionLock = "session.lock";
inline constexpr std::string_view kZipCleanup = "zip-cleanup.json";
inline constexpr std::string_view kOnlineAI = "online-ai.json";
inline constexpr std::string_view kDeferredNames = "deferred-names.json";
inline constexpr std::string_view kStudio = "studio.json";
inline constexpr std::string_view kState = "state.json";
inline constexpr std::string_view kJournal = "journal.json";
inline constexpr std::string_view kHandoffJournal = "handoff-journal.json";
inline constexpr std::string_view kTemporary = "tmp";
// The desktop app's sample folders: ordinary folders the user may approve, kept in
// the data directory so they outlast a restart. No store lives in it.
inline constexpr std::string_view kSampleFolders = "Sample folders";
}  // namespace data_files

// The data directory's path, from the override or the environment; creates nothing.
std::filesystem::path locateDataDirectory(const std::optional<std::filesystem::path>& override = std::nullopt);

// Creates the folder with any missing parents; failures throw std::system_error.
void ensureDirectory(const std::filesystem::path& folder);

}  // namespace kelo
