// Sub-job detection, sub-folder cleaning, name casing and project name suggestions.
#include <gtest/gtest.h>

#include "naming/name_case.h"
#include "naming/project_name_suggestions.h"
#include "naming/sorting_name_suggestion.h"
#include "naming/subjob_grouping.h"

namespace kelo {
namespace {

Project project(std::string name, std::vector<std::string> aliases = {}) {
    return Project::make(std::move(name), "/p/" + name, std::move(aliases));
}

TEST(SubjobGroupingTest, FindsKeywordAndNumberJoinedOrSeparatedButNotTheProjectsOwn) {
    const Project hydro = project("Hydro Cafe", {"HY"});
    struct Case {
        const char* filename;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"HY_post15_final.psd", "Post 15"},
        {"Hydro Cafe - Slide 3.key", "Slide 3"},
        {"hydro-BANNER_02.png", "Banner 2"},
        {"Bài 7 - thuyết trình.pdf", "Bai 7"},
        {"story-0.jpg", "Story 0"},
        {"Poster12.ai", "Poster 12"},
        {"mockup_v2.psd", std::nullopt},      // "v2" is no number on its own
        {"post_2024.psd", std::nullopt},      // a year
        {"post_0999.psd", "Post 999"},
        {"post_20240815.psd", std::nullopt},  // a date, not a sub-job
        {"postcard 3.png", std::nullopt},     // "postcard" is not a keyword
        {"final post.png", std::nullopt},     // keyword with no number
        {"page.10.pdf", "Page 10"},
        {"feed.png", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(SubjobGrouping::detectSubjob(c.filename, hydro), c.expected) << c.filename;

    // A project called "Post 3" must not make every one of its files sub-job "Post 3".
    const Project post = project("Post 3 Studio", {"Cover"});
    EXPECT_EQ(SubjobGrouping::detectSubjob("Post 3 Studio - slide 4.png", post), "Slide 4");
    EXPECT_EQ(SubjobGrouping::detectSubjob("post 3 cover 9.png", post), std::nullopt);
}

TEST(SortingNameSuggestionTest, CleansTypedSubfolderNames) {
    const Project hydro = project("Hydro Café", {"HY", "hydro cafe"});
    std::string longVietnamese;
    for (int i = 0; i < 100; ++i) longVietnamese += "ệ";  // 3 bytes each: cut at 85 letters
    const std::pair<std::string, std::string> cases[] = {
        {"  Hydro_Café -- Social__Post 3 ", "Social Post 3"}, {"hydro cafe", "General"}, {"   ", "General"},
        {"a/b:c\td", "abc d"}, {"..", "General"}, {"Bài tập HY", "Bài tập"},
        {std::string(300, 'x'), std::string(255, 'x')}, {longVietnamese, longVietnamese.substr(0, 255)},
    };
    for (const auto& [typed, cleaned] : cases)
        EXPECT_EQ(SortingNameSuggestion::cleanSubjob(typed, hydro), cleaned) << typed;
}

TEST(NameCaseTest, TitleCasesWordsKeepingDiacriticsAndCapitals) {
    EXPECT_EQ(NameCase::titleWords("bài  tập\nnhóm"), "Bài Tập Nhóm");
    EXPECT_EQ(NameCase::titleWords("ảnh HY social"), "Ảnh HY Social");
    EXPECT_EQ(NameCase::titleWords("đăng bài"), "Đăng Bài");
    EXPECT_EQ(NameCase::joinedTitleWords("bài tập"), "BàiTập");
    EXPECT_EQ(NameCase::titleWords(""), "");
}

FileRecord file(const std::string& name) { return FileRecord{"/in/" + name, "/in", {}, {}, {}}; }

TEST(ProjectNameSuggestionsTest, OffersUnknownClusterTokensNotDeferredOrIgnored) {
    const std::vector<Project> projects{project("Hydro Cafe", {"HY"})};
    const std::vector<Cluster> clusters{
        {"hydro", {file("hydro a.png"), file("hydro b.png"), file("hydro c.png")}},
        {"lotus", {file("LOTUS menu.pdf"), file("Lotus_post1.png"), file("Lotus-post2.png")}},
        {"menu", {file("menu 1.pdf"), file("menu 2.pdf"), file("menu 3.pdf")}},
        {"spa", {file("spa 1.pdf"), file("spa 2.pdf"), file("spa 3.pdf")}},
    };
    const auto suggestions = ProjectNameSuggestions::collect(clusters, projects, {"menu"}, {"spa"});
    ASSERT_EQ(suggestions.size(), 1u);
    EXPECT_EQ(suggestions[0], (NameSuggestion{"lotus", "Lotus", 3}));
}

}  // namespace
}  // namespace kelo
