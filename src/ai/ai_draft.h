// AIDraft: one prepared online AI request that has not been sent: the file as it
// was validated, the exact JPEG and context JSON that would leave the machine, the
// projects offered to the model, and the settings revision it was prepared under
// (any settings change makes it stale). Memory only, never written anywhere. A
// plain value; any thread may read it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ai/ai_project_context.h"
#include "model/file_record.h"
#include "model/uuid.h"

namespace kelo {

struct AIDraft {
    Uuid id = Uuid::random();
    FileRecord file;
    std::string jpeg;  // at most 1,048,576 bytes
    int width = 0;     // the preview's pixels, for showing what will be sent
    int height = 0;
    std::vector<AIProjectContext> projects;  // offered to the model, best guesses first
    std::optional<Uuid> knownProject;        // a project the file already belongs to
    std::string context;                     // the context JSON text, sent as it stands
    Uuid configurationRevision;
    // Set when this draft is the user's one retry of that failed record.
    std::optional<Uuid> retryOf;
};

}  // namespace kelo
