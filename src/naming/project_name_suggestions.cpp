#include "naming/project_name_suggestions.h"

#include <map>

#include "classify/tokens.h"
#include "naming/name_case.h"

namespace kelo::ProjectNameSuggestions {

namespace {

// The spelling most files use for the token ("Hydro" over "HYDRO"), found by
// splitting each stem at the same boundaries the tokenizer uses.
std::string preferredSpelling(const Cluster& cluster) {
    std::map<std::string, int> counts;
    for (const auto& file : cluster.files) {
        const std::string stem(Tokens::withoutExtension(file.filename()));
        std::string word;
        auto flush = [&] {
            if (!word.empty() && Tokens::normalize(word) == cluster.token) ++counts[word];
            word.clear();
        };
        for (char c : stem) {
            if (c == ' ' || c == '_' || c == '-' || c == '.' || c == '(' || c == ')' || c == '[' || c == ']')
                flush();
            else
                word += c;
        }
        flush();
    }
    std::string best = cluster.token;
    int bestCount = 0;
    for (const auto& [spelling, count] : counts)
        if (count > bestCount) best = spelling, bestCount = count;
    return NameCase::titleWords(best);
}

}  // namespace

std::set<std::string> knownWords(const ProjectList& projects) {
    std::set<std::string> words;
    for (const auto& project : projects) {
        for (auto& token : Tokens::all(project.name)) words.insert(std::move(token));
        for (const auto& alias : project.aliases)
            for (auto& token : Tokens::all(alias)) words.insert(std::move(token));
    }
    return words;
}

std::vector<NameSuggestion> collect(const std::vector<Cluster>& clusters, const ProjectList& projects,
                                    const std::set<std::string>& deferred,
                                    const std::set<std::string>& ignoredClusters) {
    return collect(clusters, knownWords(projects), deferred, ignoredClusters);
}

std::vector<NameSuggestion> collect(const std::vector<Cluster>& clusters, const std::set<std::string>& known,
                                    const std::set<std::string>& deferred,
                                    const std::set<std::string>& ignoredClusters) {
    std::vector<NameSuggestion> out;
    for (const auto& cluster : clusters) {
        if (known.contains(cluster.token) || deferred.contains(cluster.token) ||
            ignoredClusters.contains(cluster.token))
            continue;
        out.push_back({cluster.token, preferredSpelling(cluster), cluster.files.size()});
    }
    return out;
}

}  // namespace kelo::ProjectNameSuggestions

namespace kelo {
void to_json(Json& out, const NameSuggestion& s) {
    JsonWriter w(out);
    w.put("token", s.token);
    w.put("name", s.name);
    w.put("fileCount", static_cast<std::uint64_t>(s.fileCount));
}
}  // namespace kelo
