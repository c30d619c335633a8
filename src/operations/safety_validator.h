// SafetyValidator: the complete check of one planned file change against the
// approved folders and against the file as it was when the plan was made. Each
// check passes silently or throws one KeloError saying why the operation was
// skipped; in doubt, the file is left untouched. Reads the file system, never
// changes it. Called on the engine thread, right before previewing and again
// right before executing each operation.
#pragma once

#include <filesystem>
#include <optional>

#include "access/access_scope.h"
#include "model/date.h"
#include "model/file_record.h"
#include "operations/operation_plan.h"

namespace kelo {

struct SafetyValidator {
    // A file modified less than this many seconds before `now` may still be being
    // written, and is left alone.
    double stabilityInterval = 30;

    // Runs the checks in order and throws the first failure: KeloError for a
    // refusal, std::system_error when the file system itself cannot answer (a
    // vanished source, an unreadable folder). `now` is passed in so the caller
    // decides the clock.
    void validate(const PlannedOperation& operation, const AccessScope& scope, bool journalAvailable,
                  Date now) const;
};

}  // namespace kelo
