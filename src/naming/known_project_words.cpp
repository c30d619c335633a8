#include "naming/known_project_words.h"

#include "naming/project_name_suggestions.h"

namespace kelo {

const std::set<std::string>& KnownProjectWords::of(const ProjectList& projects) {
    bool same = built_ && source_.size() == projects.size();
    if (same)
        projects.forEachChanged(source_, [&](std::size_t i) {
            same = same && projects[i].name == source_[i].name && projects[i].aliases == source_[i].aliases;
        });
    if (same) return words_;
    source_ = projects;
    words_ = ProjectNameSuggestions::knownWords(projects);
    built_ = true;
    return words_;
}

}  // namespace kelo
