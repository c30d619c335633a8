// Project discovery: every direct sub-folder of a project home that is not hidden,
// not a link and not a package is a project. Reads folder listings only. Called on
// the engine thread during a scan.
#pragma once

#include <filesystem>
#include <vector>

#include "model/date.h"
#include "model/project.h"

namespace kelo::ProjectDiscovery {

// The folders directly inside `homes` that no project points to yet, as new active
// projects named after their folders, in home order, then by name. Unreadable
// homes contribute nothing (the access session has reported them).
std::vector<Project> discover(const std::vector<std::filesystem::path>& homes, const ProjectList& known,
                              Date now);

}  // namespace kelo::ProjectDiscovery
