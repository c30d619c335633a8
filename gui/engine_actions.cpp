#include "gui/engine_actions.h"

#include <utility>

#include "engine/file_commands.h"
#include "engine/learning_commands.h"
#include "engine/project_commands.h"
#include "engine/rescan.h"
#include "engine/sample_folders.h"
#include "engine/trash_commands.h"
#include "gui/texts.h"
#include "store/data_directory.h"
#include "operations/structured_filename.h"

namespace kelo::gui::EngineActions {

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
        return rescanWith(engine, engine.removeGrant(grantId)->messages);
    };
}

EngineCommand reconnectGrant(std::string grantId, std::filesystem::path folder) {
    return [grantId = std::move(grantId), folder = std::move(folder)](Engine& engine) {
        return engine.reconnectGrant(grantId, folder);
    };
}

EngineCommand clean() {
    return [](Engine& engine) { return FileCommands::clean(engine); };
}

EngineCommand sortFile(std::filesystem::path file, Placement to) {
    return [file = std::move(file), to = std::move(to)](Engine& engine) {
        return FileCommands::sortFile(engine, file, to.project, to.category, to.subfolder);
    };
}

EngineCommand keepBoth(std::filesystem::path file, Placement to) {
    return [file = std::move(file), to = std::move(to)](Engine& engine) {
        return FileCommands::keepBoth(engine, file, to.project, to.category, to.subfolder);
    };
}

// The name is composed here, on the engine thread, so a part the rule refuses comes
// back as the engine's own refusal.
EngineCommand rename(std::filesystem::path file, NameParts parts) {
    return [file = std::move(file), parts = std::move(parts)](Engine& engine) {
        std::string extension = file.extension().string();
        if (!extension.empty()) extension.erase(0, 1);  // the dot
        const std::string name = StructuredFilename::make(parts.job, parts.purpose, parts.detail, extension);
        return FileCommands::renameFile(engine, file, name);
    };
}

EngineCommand group(std::vector<std::filesystem::path> files, std::string folderName,
                    std::optional<std::string> project) {
    return [files = std::move(files), folderName = std::move(folderName), project](Engine& engine) {
        return FileCommands::groupFiles(engine, files, folderName, project);
    };
}

EngineCommand undoBatch(std::string batchId) {
    return [batchId = std::move(batchId)](Engine& engine) { return FileCommands::undoBatch(engine, batchId); };
}

EngineCommand confirm(std::filesystem::path file, std::string project) {
    return [file = std::move(file), project = std::move(project)](Engine& engine) {
        return LearningCommands::feedback(engine, file, project, true);
    };
}

EngineCommand reject(std::filesystem::path file, std::string project) {
    return [file = std::move(file), project = std::move(project)](Engine& engine) {
        return LearningCommands::feedback(engine, file, project, false);
    };
}

EngineCommand leaveAlone(std::filesystem::path file) {
    return [file = std::move(file)](Engine& engine) { return LearningCommands::leaveAlone(engine, file); };
}

EngineCommand ignoreCluster(std::string token) {
    return [token = std::move(token)](Engine& engine) { return LearningCommands::ignoreCluster(engine, token); };
}

EngineCommand restoreIgnored() {
    return [](Engine& engine) { return LearningCommands::restoreIgnored(engine); };
}

EngineCommand resetLearning() {
    return [](Engine& engine) { return LearningCommands::resetLearning(engine); };
}

EngineCommand trash(std::filesystem::path file) {
    return [file = std::move(file)](Engine& engine) { return TrashCommands::trashFile(engine, file); };
}

EngineCommand undoTrash() {
    return [](Engine& engine) { return TrashCommands::undoTrash(engine); };
}

EngineCommand newProject(std::string name) {
    return [name = std::move(name)](Engine& engine) { return ProjectCommands::newProject(engine, name); };
}

EngineCommand addAlias(std::string project, std::string alias) {
    return [project = std::move(project), alias = std::move(alias)](Engine& engine) {
        return ProjectCommands::addAlias(engine, project, alias);
    };
}

EngineCommand removeAlias(std::string project, std::string alias) {
    return [project = std::move(project), alias = std::move(alias)](Engine& engine) {
        return ProjectCommands::removeAlias(engine, project, alias);
    };
}

EngineCommand archiveProject(std::string project) {
    return [project = std::move(project)](Engine& engine) { return ProjectCommands::archiveProject(engine, project); };
}

EngineCommand reopenProject(std::string project) {
    return [project = std::move(project)](Engine& engine) { return ProjectCommands::reopenProject(engine, project); };
}

EngineCommand trashProject(std::string project) {
    return [project = std::move(project)](Engine& engine) { return ProjectCommands::trashProject(engine, project); };
}

EngineCommand acceptNameSuggestion(std::string token) {
    return [token = std::move(token)](Engine& engine) { return ProjectCommands::acceptNameSuggestion(engine, token); };
}

EngineCommand deferNameSuggestion(std::string token) {
    return [token = std::move(token)](Engine& engine) { return ProjectCommands::deferNameSuggestion(engine, token); };
}

EngineCommand sampleFolders(std::filesystem::path parent) {
    return [parent = std::move(parent)](Engine& engine) {
        // By default they live in Kelo's own data folder, so they outlast a restart
        // (the system's temporary folder may not) and never sit among the user's files.
        std::filesystem::path where = parent;
        if (where.empty()) {
            where = engine.dataDirectory() / data_files::kSampleFolders;
            std::filesystem::create_directories(where);
        }
        const SampleFolders::Layout layout = SampleFolders::create(where);
        auto out = std::make_shared<Snapshot>(*SampleFolders::approve(engine, layout));
        out->messages.insert(out->messages.begin(), std::string(text::kSamplesCreated) + layout.root.string());
        return SnapshotPtr(std::move(out));
    };
}

}  // namespace kelo::gui::EngineActions
