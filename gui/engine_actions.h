// The one place where the desktop app turns a user's action into an engine command:
// a function the EngineWorker runs on the engine thread, returning the snapshot the
// command ends with. Actions whose engine command this build does not have yet
// return an empty command and report available() false, so the window disables
// them instead of pretending; each is a single line to fill in once the command
// lands. Any thread may build a command; only the engine thread runs it.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "model/category.h"
#include "model/folder_grant.h"
#include "model/project.h"
#include "model/settings.h"

namespace kelo::gui {

using EngineCommand = std::function<SnapshotPtr(Engine&)>;

enum class EngineAction {
    scan,
    updateSettings,
    addGrant,
    removeGrant,
    clean,
    sortFile,
    confirm,
    reject,
    leaveAlone,
    rename,
    group,
    trash,
    undoTrash,
    keepBoth,
    undoBatch,
    setProjectStatus,
    addAlias,
    newProject,
    trashProject,
    sampleFolders,
};

namespace EngineActions {

// Whether this build has the engine command behind `action`.
bool available(EngineAction action);

EngineCommand scan();
EngineCommand updateSettings(Settings settings);
EngineCommand addGrant(std::filesystem::path folder, FolderGrant::Role role);
// Forgets the folder, then rescans.
EngineCommand removeGrant(std::string grantId);

EngineCommand clean();
EngineCommand sortFile(std::filesystem::path file, std::string projectId, std::optional<Category> category = {});
EngineCommand confirm(std::filesystem::path file, std::string projectId);
EngineCommand reject(std::filesystem::path file, std::string projectId);
EngineCommand leaveAlone(std::filesystem::path file);
EngineCommand rename(std::filesystem::path file, std::string newName);
EngineCommand group(std::vector<std::filesystem::path> files, std::string folderName);
EngineCommand trash(std::filesystem::path file);
EngineCommand undoTrash();
EngineCommand keepBoth(std::filesystem::path file, std::string projectId, std::optional<Category> category = {});
EngineCommand undoBatch(std::string batchId);

EngineCommand setProjectStatus(std::string projectId, ProjectStatus status);
EngineCommand addAlias(std::string projectId, std::string alias);
EngineCommand newProject(std::string name);
EngineCommand trashProject(std::string projectId);

// Builds the sample inbox and project folders and approves them.
EngineCommand sampleFolders();

}  // namespace EngineActions
}  // namespace kelo::gui
