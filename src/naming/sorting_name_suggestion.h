// Sub-folder names offered when sorting: what the user typed, cleaned of the
// project's own words and of anything a file name may not hold. Pure.
#pragma once

#include <string>
#include <string_view>

#include "model/project.h"

namespace kelo::SortingNameSuggestion {

// Trims the text, drops words of the project's name and aliases (compared folded,
// so "Hydro" and "hydro" are the same word), turns runs of separators (white
// space, "_", "-", ".") into single spaces and removes characters a file name may
// not hold ("/", ":", control characters). "General" when nothing is left. The
// result is always a valid folder name.
std::string cleanSubjob(std::string_view text, const Project& project);

}  // namespace kelo::SortingNameSuggestion
