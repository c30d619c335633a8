#include "naming/subjob_grouping.h"

#include <algorithm>
#include <array>
#include <set>

#include "classify/tokens.h"

namespace kelo::SubjobGrouping {

namespace {

struct Keyword {
    std::string_view token;  // as Tokens folds it
    std::string_view shown;
};

constexpr std::array<Keyword, 12> kKeywords{{{"post", "Post"},
                                             {"slide", "Slide"},
                                             {"banner", "Banner"},
                                             {"feed", "Feed"},
                                             {"story", "Story"},
                                             {"cover", "Cover"},
                                             {"card", "Card"},
                                             {"poster", "Poster"},
                                             {"page", "Page"},
                                             {"mockup", "Mockup"},
                                             {"chap", "Chap"},
                                             {"bai", "Bai"}}};

// One to four digits, but not a year (1900-2100): "post_2024" names when, not which.
bool isSubjobNumber(std::string_view text) {
    if (text.empty() || text.size() > 4) return false;
    if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) return false;
    const int value = std::stoi(std::string(text));
    return !(text.size() == 4 && value >= 1900 && value <= 2100);
}

std::string withoutLeadingZeros(std::string_view digits) {
    const auto first = digits.find_first_not_of('0');
    return first == std::string_view::npos ? "0" : std::string(digits.substr(first));
}

std::set<std::string> projectWords(const Project& project) {
    std::set<std::string> words;
    for (const auto& token : Tokens::all(project.name)) words.insert(token);
    for (const auto& alias : project.aliases)
        for (const auto& token : Tokens::all(alias)) words.insert(token);
    return words;
}

}  // namespace

std::optional<std::string> detectSubjob(std::string_view filename, const Project& project) {
    const std::set<std::string> ignored = projectWords(project);
    std::vector<std::string> tokens;
    for (auto& token : Tokens::all(Tokens::withoutExtension(filename)))
        if (!ignored.contains(token)) tokens.push_back(std::move(token));

    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string_view token = tokens[i];
        for (const Keyword& keyword : kKeywords) {
            if (!token.starts_with(keyword.token)) continue;
            std::string_view rest = token.substr(keyword.token.size());
            if (rest.empty() && i + 1 < tokens.size()) rest = tokens[i + 1];
            else if (rest.empty()) continue;
            if (isSubjobNumber(rest)) return std::string(keyword.shown) + " " + withoutLeadingZeros(rest);
        }
    }
    return std::nullopt;
}

}  // namespace kelo::SubjobGrouping
