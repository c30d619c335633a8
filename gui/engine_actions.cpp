#include "gui/engine_actions.h"

#include <utility>

namespace kelo::gui::EngineActions {

// The file, project, learning, trash and sample-folder commands are not part of
// this build's engine yet; their actions stay empty until they are.
bool available(EngineAction action) {
    switch (action) {
        case EngineAction::scan:
        case EngineAction::updateSettings:
        case EngineAction::addGrant:
        case EngineAction::removeGrant: return true;
        default: return false;
    }
}

EngineCommand scan() {
    return [](Engine& engine) { return engine.scan(); };
}

EngineCommand updateSettings(Settings settings) {
    return [settings = std::move(settings)](Engine& engine) { return engine.updateSettings(settings); };
}

EngineCommand addGrant(std::filesystem::path folder, FolderGrant::Role role) {
    return [folder = std::move(folder), role](Engine& engine) { return engine.addGrant(folder, role); };
}

// Forgetting a folder leaves the last scan's files in place; the rescan drops an
// inbox's files from the list, and the removal's own message comes first.
EngineCommand removeGrant(std::string grantId) {
    return [grantId = std::move(grantId)](Engine& engine) {
        const SnapshotPtr removed = engine.removeGrant(grantId);
        auto out = std::make_shared<Snapshot>(*engine.scan());
        out->messages.insert(out->messages.begin(), removed->messages.begin(), removed->messages.end());
        return SnapshotPtr(std::move(out));
    };
}

// Waiting for FileCommands (engine/file_commands.h).
EngineCommand clean() {
    return {};
}
EngineCommand sortFile(std::filesystem::path, std::string, std::optional<Category>) {
    return {};
}
EngineCommand rename(std::filesystem::path, std::string) {
    return {};
}
EngineCommand group(std::vector<std::filesystem::path>, std::string) {
    return {};
}
EngineCommand keepBoth(std::filesystem::path, std::string, std::optional<Category>) {
    return {};
}
EngineCommand undoBatch(std::string) {
    return {};
}

// Waiting for the learning commands.
EngineCommand confirm(std::filesystem::path, std::string) {
    return {};
}
EngineCommand reject(std::filesystem::path, std::string) {
    return {};
}
EngineCommand leaveAlone(std::filesystem::path) {
    return {};
}

// Waiting for the trash commands.
EngineCommand trash(std::filesystem::path) {
    return {};
}
EngineCommand undoTrash() {
    return {};
}

// Waiting for the project commands.
EngineCommand setProjectStatus(std::string, ProjectStatus) {
    return {};
}
EngineCommand addAlias(std::string, std::string) {
    return {};
}
EngineCommand newProject(std::string) {
    return {};
}
EngineCommand trashProject(std::string) {
    return {};
}

// Waiting for the sample-folder builder.
EngineCommand sampleFolders() {
    return {};
}

}  // namespace kelo::gui::EngineActions
