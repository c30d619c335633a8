#include "operations/batch_scenario.h"

#include <fstream>

namespace kelo::testing {

std::set<std::string> readCompleted(const fs::path& file) {
    std::set<std::string> ids;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) ids.insert(line);
    return ids;
}

}  // namespace kelo::testing
