// KnownProjectWords: the words of every project's name and aliases, kept between
// scans and rebuilt only when a name or an alias changed, so a command that only
// touched a project's activity does not tokenize every project again. Owned by
// the engine; engine thread only.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model/project.h"

namespace kelo {

class KnownProjectWords {
public:
    // The words of `projects`, as ProjectNameSuggestions::knownWords gives them.
    const std::set<std::string>& of(const std::vector<Project>& projects);

private:
    // The names and aliases the words were built from, compared exactly.
    std::vector<std::pair<std::string, std::vector<std::string>>> source_;
    std::set<std::string> words_;
    bool built_ = false;
};

}  // namespace kelo
