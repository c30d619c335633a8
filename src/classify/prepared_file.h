// PreparedFile: one scanned file with the tokens of its name worked out once, so
// classifying it, offering it as a neighbour and indexing it never fold the same
// name twice. Plain value; any thread may read it.
#pragma once

#include <string>
#include <vector>

#include "model/file_record.h"

namespace kelo {

struct PreparedFile {
    FileRecord record;
    std::string fingerprint;
    std::vector<std::string> tokens;      // Tokens::all of the name without extension
    std::vector<std::string> meaningful;  // its meaningful tokens, ascending

    static PreparedFile make(FileRecord record);
};

}  // namespace kelo
