#include "operations/rename_suggestions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace kelo {
namespace {

// A plain-ASCII stand-in for the classifier's token rules, enough to drive these
// rules: lower-case, split at non-alphanumerics; generic words, "v", single letters,
// short numbers and years are not meaningful.
std::vector<std::string> asciiTokens(std::string_view text) {
    std::vector<std::string> out;
    std::string current;
    for (char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            current += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (!current.empty()) {
            out.push_back(current);
            current.clear();
        }
    }
    if (!current.empty()) out.push_back(current);
    return out;
}

std::set<std::string> asciiMeaningful(std::string_view text) {
    static const std::set<std::string> generic = {
        "final", "new", "copy", "image",     "export", "untitled", "version", "edit", "test", "screenshot", "screen",
        "shot",  "kv",  "ref",  "reference", "assets", "pack",     "logo",    "pdf",  "psd",  "png",        "jpg"};
    std::set<std::string> out;
    for (const std::string& token : asciiTokens(text)) {
        const auto first = token.find_first_not_of("0123456789");
        if (first == std::string::npos) {
            if (token.size() >= 4 && !(std::stoll(token) >= 1900 && std::stoll(token) <= 2100)) out.insert(token);
            continue;
        }
        const std::string core = token.substr(first, token.find_last_not_of("0123456789") - first + 1);
        if (generic.contains(core) || core == "v" || token.size() < 2) continue;
        out.insert(token);
    }
    return out;
}

const TokenRules kRules{asciiTokens, asciiMeaningful};

TEST(RenameSuggestionsTest, QuestionableNames) {
    const struct {
        std::string name;
        bool questionable;
    } cases[] = {
        {"final-final.psd", true},       {"final.psd", true},  // no meaningful token either
        {"menu_final.psd", false},       {"logo_final_final2.ai", true},
        {"hydro_final_FINAL3.ai", true}, {"IMG.png", false},
        {"Untitled-1.psd", true},        {"2024.pdf", true},
        {"hydro menu.pdf", false},       {"README", false},
    };
    for (const auto& c : cases) EXPECT_EQ(RenameSuggestions::questionable(c.name, kRules), c.questionable) << c.name;
}

TEST(RenameSuggestionsTest, SuggestsFromTheFirstAliasWithInferredCategory) {
    FileRecord file;
    file.url = "/in/final_final2.PSD";
    Project project = Project::make("Hydro Cafe", "/jobs/Hydro", {"hydro cafe", "hc"});
    EXPECT_EQ(RenameSuggestions::suggest(file, project, kRules), "HYDRO_CAFE-Working-01.PSD");

    file.url = "/in/untitled";
    EXPECT_EQ(RenameSuggestions::suggest(file, project, kRules), "HYDRO_CAFE-Reference-01");

    file.url = "/in/hydro menu.pdf";  // a good name gets no suggestion
    EXPECT_EQ(RenameSuggestions::suggest(file, project, kRules), std::nullopt);

    file.url = "/in/final.png";
    project.aliases = {"final export", "hydro"};  // only the first alias counts, and it says nothing
    EXPECT_EQ(RenameSuggestions::suggest(file, project, kRules), std::nullopt);
    project.aliases = {};
    EXPECT_EQ(RenameSuggestions::suggest(file, project, kRules), std::nullopt);
}

}  // namespace
}  // namespace kelo
