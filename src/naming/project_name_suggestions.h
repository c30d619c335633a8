// Project-name suggestions: groups of inbox files that share a token no project
// knows hint at a new client or job. The user can accept one (a new project) or
// defer it (remembered in "deferred-names.json" and not offered again). Pure.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "classify/classification_engine.h"
#include "model/json_codec.h"
#include "model/project.h"

namespace kelo {

struct NameSuggestion {
    std::string token;      // the shared token, folded
    std::string name;       // the proposed project name
    std::size_t fileCount;  // files of the cluster

    friend bool operator==(const NameSuggestion&, const NameSuggestion&) = default;
};

namespace ProjectNameSuggestions {

// One suggestion per cluster whose token is no word of any project's name or
// aliases, was not deferred and is not an ignored cluster; in cluster order. The
// name is the token as most files of the cluster write it, first letter capitalised.
std::vector<NameSuggestion> collect(const std::vector<Cluster>& clusters, const ProjectList& projects,
                                    const std::set<std::string>& deferred, const std::set<std::string>& ignoredClusters);
// The same with the projects' words given, as knownWords returns them.
std::vector<NameSuggestion> collect(const std::vector<Cluster>& clusters, const std::set<std::string>& knownWords,
                                    const std::set<std::string>& deferred,
                                    const std::set<std::string>& ignoredClusters);

// Every token of every project's name and aliases.
std::set<std::string> knownWords(const ProjectList& projects);

}  // namespace ProjectNameSuggestions

void to_json(Json& out, const NameSuggestion& value);

}  // namespace kelo
