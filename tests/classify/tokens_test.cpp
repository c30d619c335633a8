#include "classify/tokens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <random>

#include "classify/token_unicode.h"

namespace kelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using List = std::vector<std::string>;

TEST(TokensTest, SplitsAtEveryNonAlphanumericAndFolds) {
    struct Case {
        std::string text;
        List tokens;
    };
    const std::vector<Case> cases = {
        {"Bài_POST-02 Final", {"bai", "post", "02", "final"}},
        {"IMG_2024_0815", {"img", "2024", "0815"}},
        {"", {}},
        {"__--..  ", {}},
        {"Hydro—Cafe（2024）[v2]·menu–x", {"hydro", "cafe", "2024", "v2", "menu", "x"}},
        {"ẢNH Bìa", {"anh", "bia"}},
        {"Bài Đăng", {"bai", "dang"}},
        {"TRƯỜNG ĐẠI HỌC Ngoại Thương", {"truong", "dai", "hoc", "ngoai", "thuong"}},
        {"Ổ Ẩm Ữa Ỵ", {"o", "am", "ua", "y"}},
        {"Straße", {"strasse"}},
        {"ΚΑΦΈ ᾳ İstanbul", {"καφε", "α", "istanbul"}},
        // Kana sound marks are diacritics too.
        {"東京 デザイン_案", {"東京", "テサイン", "案"}},
        // Spacing marks are letters' parts, not separators.
        {"हिन्दी-पोस्टर", {"हिनदी", "पोसटर"}},
        {"١٢٣٤٥ café", {"١٢٣٤٥", "cafe"}},
    };
    for (const auto& c : cases) EXPECT_EQ(Tokens::all(c.text), c.tokens) << c.text;
}

// Folding keeps separators, treats decomposed input as precomposed and ignores
// the user's locale.
TEST(TokensTest, NormalizeFoldsCaseAndDiacriticsWhateverTheLocale) {
    EXPECT_EQ(Tokens::normalize("Crème BRÛLÉE-2"), "creme brulee-2");
    EXPECT_EQ(Tokens::normalize("A\u0309NH Bìa"), "anh bia");
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale previous = icu::Locale::getDefault();
    icu::Locale::setDefault(icu::Locale("tr", "TR"), status);
    // Under Turkish rules "I" would lower-case to a dotless "ı".
    const std::string folded = Tokens::normalize("ĐIỆN TITLE");
    icu::Locale::setDefault(previous, status);
    EXPECT_EQ(folded, "dien title");
}

TEST(TokensTest, MeaningfulTokenRule) {
    // Years 1900-2100 in ASCII digits and numbers under four digits say nothing;
    // "99999999999999999999" does not fit 64 bits and is kept; "00002024" parses to
    // 2024; Arabic-Indic digits never parse as a year; "\uFF76\uFF9E" is one
    // halfwidth kana with its sound mark, so one character.
    for (const char* token : {"img", "0815", "1899", "2101", "12345", "a2b", "fin2al", "kp", "vv", "éa", "東京",
                              "99999999999999999999", "١٢٣٤٥", "٢٠٢٤", "\uFF76\uFF9E\uFF76"})
        EXPECT_TRUE(Tokens::isMeaningful(token)) << token;
    for (const char* token :
         {"2024",       "1999",   "1900",   "2100",    "7",         "02", "123",      "v",   "v2",          "v12",
          "final",      "final2", "copy01", "2export", "12final34", "a",  "x",        "kv",  "kv3",         "jpg",
          "screenshot", "2v",     "é",      "案",      "½",         "ⅫⅫ", "00002024", "٢٠٢", "\uFF76\uFF9E"})
        EXPECT_FALSE(Tokens::isMeaningful(token)) << token;
    // Of a whole name: each meaningful token once, sorted.
    EXPECT_THAT(Tokens::meaningful("IMG_2024_0815"), ElementsAre("0815", "img"));
    EXPECT_THAT(Tokens::meaningful("Screenshot 2024-08-15 10.22.31"), IsEmpty());
    EXPECT_THAT(Tokens::meaningful("menu Menu MENU_b"), ElementsAre("menu"));
}

TEST(TokensTest, AliasMatchesContiguousWholeTokens) {
    struct Case {
        std::string alias;
        std::string filename;
        bool matches;
    };
    const std::vector<Case> cases = {
        {"hydro cafe", "2024_Hydro-Cafe_post3", true},
        {"hydro cafe", "cafe hydro", false},
        {"hydro cafe", "hydrocafe", false},
        {"hydro cafe", "hydro", false},  // alias longer than the name
        {"Hydro Café", "HYDRO_CAFE", true},
        {"hydro", "hydro_cafe", true},
        {"hydro", "hydros", false},
        {"Final Hydro", "final-hydro-x", true},  // generic words still take part in the match
        {"Final Hydro", "hydro-x", false},
        {"Final Export", "final export", false},  // no meaningful token: never matches
        {"v2", "v2", false},
        {"2024", "2024", false},
        {"", "anything", false},
        {"--", "anything", false},
        {"Bài Đăng", "bai_dang_01", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Tokens::aliasMatches(c.alias, c.filename), c.matches) << c.alias << " in " << c.filename;
}

// The ASCII fast path must give exactly what the ICU path gives.
TEST(TokensTest, AsciiFastPathAgreesWithIcu) {
    std::mt19937 random(7);
    std::string every;
    for (int c = 1; c < 128; ++c) every.push_back(static_cast<char>(c));
    std::vector<std::string> texts = {every};
    const std::string alphabet = "aZ09_-. v2fINAL()x!";
    for (int i = 0; i < 500; ++i) {
        std::string text;
        for (int j = 0, n = static_cast<int>(random() % 24); j < n; ++j)
            text.push_back(alphabet[random() % alphabet.size()]);
        texts.push_back(text);
    }
    for (const auto& text : texts) {
        std::vector<std::string> viaIcu;
        token_unicode::appendAlphanumericRuns(token_unicode::fold(text), viaIcu);
        EXPECT_EQ(Tokens::all(text), viaIcu) << text;
        EXPECT_EQ(Tokens::normalize(text), token_unicode::fold(text)) << text;
    }
}

TEST(TokensTest, WithoutExtensionRemovesOnlyTheLastComponentsExtension) {
    EXPECT_EQ(Tokens::withoutExtension("Hydro menu.final.psd"), "Hydro menu.final");
    EXPECT_EQ(Tokens::withoutExtension("README"), "README");
    EXPECT_EQ(Tokens::withoutExtension(".hidden"), ".hidden");
    EXPECT_EQ(Tokens::withoutExtension("dir.x/file"), "dir.x/file");
}

}  // namespace
}  // namespace kelo
