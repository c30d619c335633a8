// The Gemini request body and the validation of its answer: the schema offers only
// the given projects, the limits hold at their edges, and every kind of bad answer
// is refused with its own text.
#include "ai/gemini_payload.h"

#include <gtest/gtest.h>

#include "ai/gemini_answer.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/kelo_error.h"
#include "support/refusal.h"

namespace kelo {
namespace {

namespace GP = GeminiPayload;
using testing::adviceJson;
using testing::envelope;
using testing::refusalOf;

FileRecord fileNamed(const std::string& name) {
    FileRecord file;
    file.url = "/home/u/Downloads/" + name;
    file.sourceFolder = "/home/u/Downloads";
    return file;
}

std::vector<AIProjectContext> someProjects(std::size_t count) {
    std::vector<AIProjectContext> projects;
    for (std::size_t i = 0; i < count; ++i) projects.push_back({Uuid::random(), "Project " + std::to_string(i)});
    return projects;
}

TEST(GeminiPayloadTest, ContextAndBodyCarryWhatIsSentAndTheAnswerSchema) {
    const auto projects = someProjects(2);
    const std::string context = GP::context(fileNamed("Ảnh bìa.png"), projects, projects[1].id);
    EXPECT_EQ(Json::parse(context), (Json{{"filename", "Ảnh bìa.png"},
                                          {"projects",
                                           {{{"id", projects[0].id.text()}, {"name", "Project 0"}},
                                            {{"id", projects[1].id.text()}, {"name", "Project 1"}}}},
                                          {"knownProject", projects[1].id.text()}}));

    const std::string jpeg = "\xFF\xD8\xFF\xE0 not really a jpeg";
    const Json body = Json::parse(GP::body(jpeg, context, projects));
    EXPECT_EQ(body["systemInstruction"],
              Json::parse(R"({"parts":[{"text":")" + std::string(GP::kSystemInstruction) + R"("}]})"));
    const auto encoded = base64Encode(Bytes(jpeg.begin(), jpeg.end()));
    EXPECT_EQ(body["contents"],
              Json::parse(R"([{"role":"user","parts":[{"text":)" + Json(context).dump() +
                          R"(},{"inline_data":{"mime_type":"image/jpeg","data":")" + encoded + R"("}}]}])"));
    const auto choice = [](Json values) { return Json{{"type", "string"}, {"enum", std::move(values)}}; };
    const Json schema{{"type", "object"},
                      {"properties",
                       {{"project_id", choice({projects[0].id.text(), projects[1].id.text(), "unknown"})},
                        {"category", choice({"Working", "Export", "Assets", "Reference"})},
                        {"stem", {{"type", "string"}}},
                        {"reason", {{"type", "string"}}},
                        {"confidence", choice({"low", "medium", "high"})}}},
                      {"required", {"project_id", "category", "stem", "reason", "confidence"}}};
    EXPECT_EQ(
        body["generationConfig"],
        (Json{{"responseMimeType", "application/json"}, {"responseJsonSchema", schema}, {"maxOutputTokens", 2048}}));
    EXPECT_EQ(Json::parse(GP::body(jpeg, "{}",
                                   {}))["generationConfig"]["responseJsonSchema"]["properties"]["project_id"]["enum"],
              Json::array({"unknown"}));
}

TEST(GeminiPayloadTest, LimitsHoldAtTheirEdges) {
    const FileRecord file = fileNamed("a.png");
    auto longName = someProjects(1);
    longName[0].name = std::string(256, 'x');
    auto tooLong = longName;
    tooLong[0].name += "x";
    struct Case {
        const char* what;
        std::function<void()> call;
        std::string_view refusal;  // empty: accepted
    };
    const Case cases[] = {
        {"50 projects", [&] { GP::context(file, someProjects(50), std::nullopt); }, {}},
        {"51 projects", [&] { GP::context(file, someProjects(51), std::nullopt); }, GP::kTooManyProjects},
        {"256-byte name", [&] { GP::context(file, longName, std::nullopt); }, {}},
        {"257-byte name", [&] { GP::context(file, tooLong, std::nullopt); }, GP::kTooManyProjects},
        {"known but not offered", [&] { GP::context(file, longName, Uuid::random()); }, GP::kTooManyProjects},
        {"1 MiB JPEG", [] { GP::body(std::string(1'048'576, 'j'), "{}", {}); }, {}},
        {"1 MiB + 1 JPEG", [] { GP::body(std::string(1'048'577, 'j'), "{}", {}); }, GP::kPayloadTooLarge},
        {"empty JPEG", [] { GP::body("", "{}", {}); }, GP::kPayloadTooLarge},
        {"24,000-byte context", [] { GP::body("j", std::string(24'000, 'c'), {}); }, {}},
        {"24,001-byte context", [] { GP::body("j", std::string(24'001, 'c'), {}); }, GP::kPayloadTooLarge},
    };
    for (const auto& c : cases) EXPECT_EQ(refusalOf(c.call), c.refusal) << c.what;
}

TEST(GeminiPayloadTest, AdviceFromValidAnswers) {
    const auto projects = someProjects(3);
    const FileRecord file = fileNamed("a.PNG");
    // Compared as JSON so that a failure names the field.
    EXPECT_EQ(Json(GP::advice(envelope(adviceJson(projects[2].id.text())), file, projects, std::nullopt)),
              Json(AIAdvice{projects[2].id, Category::export_, "LS-Social-Post1.PNG", "Tên tệp có chữ LS.",
                            AIConfidence::high}));

    // "unknown" is no project; a file without an extension keeps none; thought parts
    // are left out and the rest joined without a separator.
    const std::string answer = adviceJson("unknown", "Mixed_stem-2");
    const std::string split = Json{{"candidates",
                                    {{{"content",
                                       {{"parts",
                                         {{{"text", "{\"nope\":1}"}, {"thought", true}},
                                          {{"text", answer.substr(0, 10)}},
                                          {{"text", answer.substr(10)}, {"thought", false}}}}}},
                                      {"finishReason", "STOP"}}}}}
                                  .dump();
    const AIAdvice unknown = GP::advice(split, fileNamed("README"), projects, std::nullopt);
    EXPECT_FALSE(unknown.projectID);
    EXPECT_EQ(unknown.filename, "Mixed_stem-2");

    EXPECT_EQ(GP::advice(envelope(adviceJson(projects[0].id.text())), file, projects, projects[0].id).projectID,
              projects[0].id);
}

TEST(GeminiPayloadTest, AdviceRefusesEveryKindOfBadAnswer) {
    const auto projects = someProjects(2);
    const std::string listed = projects[0].id.text();
    struct Case {
        const char* what;
        std::string response;
        std::optional<Uuid> known;
        std::string_view text;
    };
    const Case cases[] = {
        {"too large", std::string(262'145, ' '), std::nullopt, GP::kResponseTooLarge},
        {"not JSON", "<html>", std::nullopt, GP::kIncompleteSuggestion},
        {"no candidates", R"({"candidates":[]})", std::nullopt, GP::kIncompleteSuggestion},
        {"no content", R"({"candidates":[{"finishReason":"STOP"}]})", std::nullopt, GP::kIncompleteSuggestion},
        {"no finish reason", R"({"candidates":[{"content":{"parts":[{"text":"x"}]}}]})", std::nullopt,
         GP::kIncompleteSuggestion},
        {"cut off", envelope(adviceJson(listed), "MAX_TOKENS"), std::nullopt, GP::kIncompleteSuggestion},
        {"wrong part type", R"({"candidates":[{"content":{"parts":[{"text":5}]},"finishReason":"STOP"}]})",
         std::nullopt, GP::kIncompleteSuggestion},
        {"empty text", envelope(""), std::nullopt, GP::kIncompleteSuggestion},
        {"text too large", envelope(std::string(16'001, ' ')), std::nullopt, GP::kSuggestionTooLarge},
        {"text not JSON", envelope("I think Project 1"), std::nullopt, GP::kIncompleteSuggestion},
        {"missing field", envelope(R"({"project_id":"unknown","category":"Export","stem":"a","reason":"b"})"),
         std::nullopt, GP::kIncompleteSuggestion},
        {"unknown category", envelope(adviceJson(listed, "a", "b", "Final")), std::nullopt, GP::kIncompleteSuggestion},
        {"unknown confidence", envelope(adviceJson(listed, "a", "b", "Export", "certain")), std::nullopt,
         GP::kIncompleteSuggestion},
        {"project not offered", envelope(adviceJson(Uuid::random().text())), std::nullopt, GP::kUnavailableProject},
        {"project not a UUID", envelope(adviceJson("Project 1")), std::nullopt, GP::kUnavailableProject},
        {"conflicts with known", envelope(adviceJson(projects[1].id.text())), projects[0].id, GP::kUnavailableProject},
        {"empty stem", envelope(adviceJson(listed, "")), std::nullopt, GP::kInvalidStemOrReason},
        {"stem starts with hyphen", envelope(adviceJson(listed, "-Post")), std::nullopt, GP::kInvalidStemOrReason},
        {"stem with path", envelope(adviceJson(listed, "../etc/passwd")), std::nullopt, GP::kInvalidStemOrReason},
        {"stem with extension", envelope(adviceJson(listed, "Post.png")), std::nullopt, GP::kInvalidStemOrReason},
        {"stem too long", envelope(adviceJson(listed, std::string(161, 'a'))), std::nullopt, GP::kInvalidStemOrReason},
        {"empty reason", envelope(adviceJson(listed, "Post", "")), std::nullopt, GP::kInvalidStemOrReason},
        {"reason too long", envelope(adviceJson(listed, "Post", std::string(501, 'r'))), std::nullopt,
         GP::kInvalidStemOrReason},
    };
    for (const auto& c : cases)
        EXPECT_EQ(refusalOf([&] { GP::advice(c.response, fileNamed("a.png"), projects, c.known); }), c.text) << c.what;

    // At the limits: 160 bytes of stem (Vietnamese letters count by byte) and 500
    // characters of reason are fine.
    EXPECT_NO_THROW(GP::advice(envelope(adviceJson(listed, std::string(160, 'a'), std::string(500, 'r'))),
                               fileNamed("a.png"), projects, std::nullopt));
    EXPECT_NO_THROW(
        GP::advice(envelope(adviceJson(listed, "Bìa-Đẹp", "ổn")), fileNamed("a.png"), projects, std::nullopt));
    // A stem that fits its own limit but not with the extension.
    EXPECT_EQ(refusalOf([&] {
                  GP::advice(envelope(adviceJson(listed, std::string(160, 'a'))),
                             fileNamed("a." + std::string(100, 'e')), projects, std::nullopt);
              }),
              GP::kInvalidFilename);
}

}  // namespace
}  // namespace kelo
