// OperationPlanner: builds the plans for placing one file, cleaning a batch of
// classified files, renaming, and picking a free keep-both name. Planners only
// compute: they read the file system at most to test whether a name is free, and
// never change it. Every plan gets a fresh id and batch id, and every operation a
// fresh id; `expected` is the identity the scanner recorded, not one read now.
// Stateless; called from the engine thread.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/category.h"
#include "model/date.h"
#include "model/file_record.h"
#include "model/project.h"
#include "operations/operation_plan.h"

namespace kelo {

// One classified file as `clean` reads it: the file, the project it was predicted
// for (absent when the classification carries no prediction) and its category.
// The engine builds these from the classifications that are "Ready".
struct CleanCandidate {
    FileRecord file;
    std::optional<Uuid> predictedProject;
    Category category;
};

// The sub-job folder name for a file in a project, if any (the naming module's
// sub-job detection).
using SubjobDetector = std::function<std::optional<std::string>(const std::string& filename, const Project&)>;

namespace OperationPlanner {

// One move of the file into the project's category folder, or into a valid
// sub-folder of it; an empty or invalid sub-folder name is ignored. Throws KeloError
// for an archived project.
OperationPlan place(const FileRecord& record, const Project& project, Category category,
                    const std::optional<std::string>& subfolder = std::nullopt, Date now = Date::now());

// One move per predicted file whose project exists and is not archived, in the
// given order, all in one batch.
OperationPlan clean(const std::vector<CleanCandidate>& classifications, const ProjectList& projects,
                    bool groupBySubjob, const SubjobDetector& detectSubjob, Date now = Date::now());

// A rename in place to a name that was already approved.
OperationPlan rename(const FileRecord& record, const std::string& approvedName, Date now = Date::now());

// A rename to a name the user typed: it must be a valid name that keeps the file's
// extension exactly. Throws KeloError otherwise.
OperationPlan reviewedRename(const FileRecord& record, const std::string& name, Date now = Date::now());

// The same operation with the first free "stem n.ext" destination (n from 2 to
// 10000) that neither exists on disk nor is in `reserved` (path keys taken by other
// operations of the plan). Throws KeloError when none is free.
PlannedOperation keepBoth(const PlannedOperation& operation, const std::set<std::string>& reserved);

}  // namespace OperationPlanner
}  // namespace kelo
