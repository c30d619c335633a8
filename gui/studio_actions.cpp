#include "gui/studio_actions.h"

namespace kelo::gui::StudioActions {

EngineCommand open(std::string project) {
    return [project = std::move(project)](Engine& engine) { return StudioCommands::openStudio(engine, project); };
}

EngineCommand pin(std::filesystem::path file, std::string project) {
    return [file = std::move(file), project = std::move(project)](Engine& engine) {
        return StudioCommands::pinReference(engine, file, project);
    };
}

EngineCommand unpin(std::filesystem::path file) {
    return [file = std::move(file)](Engine& engine) { return StudioCommands::unpinReference(engine, file); };
}

EngineCommand saveFilter(std::string project, StudioFilter filter) {
    return [project = std::move(project), filter = std::move(filter)](Engine& engine) {
        return StudioCommands::saveFilter(engine, project, filter);
    };
}

EngineCommand deleteFilter(std::string project, std::string name) {
    return [project = std::move(project), name = std::move(name)](Engine& engine) {
        return StudioCommands::deleteFilter(engine, project, name);
    };
}

EngineCommand rename(std::filesystem::path file, std::string newName) {
    return [file = std::move(file), newName = std::move(newName)](Engine& engine) {
        return StudioCommands::renameProjectFile(engine, file, newName);
    };
}

EngineCommand sort(std::filesystem::path file, Category category) {
    return [file = std::move(file), category](Engine& engine) {
        return StudioCommands::sortProjectFile(engine, file, category);
    };
}

}  // namespace kelo::gui::StudioActions
