// TrashPolicy: the checks before a loose file or a whole job folder goes to the
// Trash. Each passes silently or throws one KeloError (Vietnamese, as the Trash
// commands show it); file-system errors pass through as std::system_error. Reads
// the file system, never changes it. Called on the engine thread.
#pragma once

#include "access/access_scope.h"
#include "model/file_record.h"
#include "model/project.h"

namespace kelo::TrashPolicy {

// The file must lie in an approved folder, be reachable without links, and still
// be exactly the file that was scanned.
void validateFile(const FileRecord& record, const AccessScope& scope);

// The project's folder must be an ordinary folder directly inside an approved
// project home, never the home itself.
void validateProject(const Project& project, const AccessScope& scope);

}  // namespace kelo::TrashPolicy
