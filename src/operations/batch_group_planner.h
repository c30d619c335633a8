// BatchGroupPlanner: plans grouping selected files into a new folder: one
// createDirectory, then one move per file into it. Stateless; called from the
// engine thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "model/date.h"
#include "model/file_record.h"
#include "operations/operation_plan.h"

namespace kelo::BatchGroupPlanner {

// The same file (same path) selected twice counts once; the selection is sorted by
// path. Throws KeloError for an invalid folder name (checked first) or a selection
// of zero or more than 10000 files. The createDirectory's source is the parent folder.
// The checks `plan` makes first, in its order, for a caller that must refuse before
// it reads the files: the folder name, then the number of distinct files selected.
// Returns the trimmed folder name.
std::string checkedRequest(const std::string& name, std::size_t distinctFiles);

OperationPlan plan(const std::vector<FileRecord>& files, const std::string& name,
                   const std::filesystem::path& parentFolder, Date now = Date::now());

}  // namespace kelo::BatchGroupPlanner
