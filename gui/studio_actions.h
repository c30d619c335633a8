// The Studio's engine commands as the desktop app sends them (see engine_actions.h):
// each runs on the engine thread and returns the snapshot its command ends with.
#pragma once

#include "engine/studio_commands.h"
#include "gui/engine_actions.h"

namespace kelo::gui::StudioActions {

EngineCommand open(std::string project);
EngineCommand pin(std::filesystem::path file, std::string project);
EngineCommand unpin(std::filesystem::path file);
EngineCommand saveFilter(std::string project, StudioFilter filter);
EngineCommand deleteFilter(std::string project, std::string name);
EngineCommand rename(std::filesystem::path file, std::string newName);
EngineCommand sort(std::filesystem::path file, Category category);

}  // namespace kelo::gui::StudioActions
