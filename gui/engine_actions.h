// The one place where the desktop app turns a user's action into an engine command:
// a function the EngineWorker runs on the engine thread, returning the snapshot the
// command ends with. A refusal is the KeloError the command throws; the model shows
// its text as it stands. Any thread may build a command; only the engine thread runs
// it, so nothing here touches a file on the caller's thread.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "model/category.h"
#include "model/folder_grant.h"
#include "model/settings.h"

namespace kelo::gui {

using EngineCommand = std::function<SnapshotPtr(Engine&)>;

// Where a sorted file goes: the project (name or id), and the category folder and
// sub-folder inside it when the user chose them (else Kelo's own choice).
struct Placement {
    std::string project;
    std::optional<Category> category;
    std::optional<std::string> subfolder;

    friend bool operator==(const Placement&, const Placement&) = default;
};

// The three parts of a reviewed name, "Job-Purpose-Detail.ext".
struct NameParts {
    std::string job;
    std::string purpose;
    std::string detail;
};

namespace EngineActions {

EngineCommand scan();
EngineCommand updateSettings(Settings settings);
EngineCommand addGrant(std::filesystem::path folder, FolderGrant::Role role);
// Forgets the folder, then rescans.
EngineCommand removeGrant(std::string grantId);
// Points an approved folder at `folder` again, keeping its role, then rescans.
EngineCommand reconnectGrant(std::string grantId, std::filesystem::path folder);

// Files.
EngineCommand clean();
EngineCommand sortFile(std::filesystem::path file, Placement placement);
// The sort that met a name conflict, to a free "name 2.ext".
EngineCommand keepBoth(std::filesystem::path file, Placement placement);
// Composes the new name from `parts` and the file's extension, then renames.
EngineCommand rename(std::filesystem::path file, NameParts parts);
// A new folder `folderName` for the files: inside the project's folder when
// `project` is given, otherwise beside files that already lie in a project home.
EngineCommand group(std::vector<std::filesystem::path> files, std::string folderName,
                    std::optional<std::string> project = std::nullopt);
EngineCommand undoBatch(std::string batchId);

// Learning; none of these moves a file.
EngineCommand confirm(std::filesystem::path file, std::string project);
EngineCommand reject(std::filesystem::path file, std::string project);
EngineCommand leaveAlone(std::filesystem::path file);
EngineCommand ignoreCluster(std::string token);
EngineCommand restoreIgnored();
EngineCommand resetLearning();

// The desktop's Trash.
EngineCommand trash(std::filesystem::path file);
EngineCommand undoTrash();

// Projects.
EngineCommand newProject(std::string name);
EngineCommand addAlias(std::string project, std::string alias);
EngineCommand removeAlias(std::string project, std::string alias);
EngineCommand archiveProject(std::string project);
EngineCommand reopenProject(std::string project);
EngineCommand trashProject(std::string project);
EngineCommand acceptNameSuggestion(std::string token);
EngineCommand deferNameSuggestion(std::string token);

// Builds the sample inbox and project home in a new folder inside `parent`, or
// inside "Sample folders" in Kelo's data folder when `parent` is empty (never
// among the user's own folders), approves them and says where they are.
EngineCommand sampleFolders(std::filesystem::path parent);

}  // namespace EngineActions
}  // namespace kelo::gui
