// KnownProjectWords: the words of every project's name and aliases, kept between
// scans and rebuilt only when a name or an alias changed, so a command that only
// touched a project's activity does not tokenize every project again. Owned by
// the engine; engine thread only.
#pragma once

#include <set>
#include <string>

#include "model/project.h"

namespace kelo {

class KnownProjectWords {
public:
    // The words of `projects`, as ProjectNameSuggestions::knownWords gives them.
    const std::set<std::string>& of(const ProjectList& projects);

private:
    // The list the words were built from, sharing its chunks: only the chunks a
    // command replaced are compared.
    ProjectList source_;
    std::set<std::string> words_;
    bool built_ = false;
};

}  // namespace kelo
