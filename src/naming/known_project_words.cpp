#include "naming/known_project_words.h"

#include <algorithm>

#include "naming/project_name_suggestions.h"

namespace kelo {

const std::set<std::string>& KnownProjectWords::of(const std::vector<Project>& projects) {
    const bool same =
        built_ && source_.size() == projects.size() &&
        std::equal(projects.begin(), projects.end(), source_.begin(),
                   [](const Project& p, const auto& s) { return p.name == s.first && p.aliases == s.second; });
    if (same) return words_;
    source_.clear();
    source_.reserve(projects.size());
    for (const auto& project : projects) source_.emplace_back(project.name, project.aliases);
    words_ = ProjectNameSuggestions::knownWords(projects);
    built_ = true;
    return words_;
}

}  // namespace kelo
