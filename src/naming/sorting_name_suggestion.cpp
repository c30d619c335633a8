#include "naming/sorting_name_suggestion.h"

#include <set>

#include "access/path_safety.h"
#include "classify/tokens.h"
#include "model/unicode_text.h"

namespace kelo::SortingNameSuggestion {

namespace {

bool isSeparator(char c) { return c == '_' || c == '-' || c == '.'; }

bool isForbidden(unsigned char c) { return c == '/' || c == ':' || c < 0x20 || c == 0x7F; }

// Splits at white space and the separators, dropping characters a name may not hold.
std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> out;
    for (const auto& piece : splitOnWhitespace(text)) {
        std::string current;
        for (char c : piece) {
            if (isSeparator(c)) {
                if (!current.empty()) out.push_back(std::move(current));
                current.clear();
            } else if (!isForbidden(static_cast<unsigned char>(c))) {
                current += c;
            }
        }
        if (!current.empty()) out.push_back(std::move(current));
    }
    return out;
}

}  // namespace

std::string cleanSubjob(std::string_view text, const Project& project) {
    std::set<std::string> projectWords;
    for (const auto& token : Tokens::all(project.name)) projectWords.insert(token);
    for (const auto& alias : project.aliases)
        for (const auto& token : Tokens::all(alias)) projectWords.insert(token);

    std::string out;
    for (const auto& word : words(text)) {
        // A word is the project's when every token in it is one of the project's words.
        const auto tokens = Tokens::all(word);
        const bool ofProject = !tokens.empty() && std::all_of(tokens.begin(), tokens.end(), [&](const auto& t) {
            return projectWords.contains(t);
        });
        if (ofProject) continue;
        if (!out.empty()) out += ' ';
        out += word;
    }
    // Keep whole characters while cutting to the 255 bytes a name may hold.
    std::size_t keep = graphemeCount(out);
    while (out.size() > 255 && keep > 0) out = graphemePrefix(out, --keep);
    if (out.empty() || !PathSafety::validName(out)) return "General";
    return out;
}

}  // namespace kelo::SortingNameSuggestion
