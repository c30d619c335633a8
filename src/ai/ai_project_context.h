// AIProjectContext: one candidate project as the model is shown it, by id and
// name only. A plain value; any thread may use it.
#pragma once

#include <string>

#include "model/uuid.h"

namespace kelo {

struct AIProjectContext {
    Uuid id;
    std::string name;

    friend bool operator==(const AIProjectContext&, const AIProjectContext&) = default;
};

}  // namespace kelo
