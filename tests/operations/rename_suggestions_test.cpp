#include "operations/rename_suggestions.h"

#include <gtest/gtest.h>

#include "classify/tokens.h"

namespace kelo {
namespace {

// The classifier's own token rules, as the app passes them.
const TokenRules kRules{[](std::string_view text) { return Tokens::all(text); },
                        [](std::string_view text) {
                            const auto list = Tokens::meaningful(text);
                            return std::set<std::string>(list.begin(), list.end());
                        }};

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
