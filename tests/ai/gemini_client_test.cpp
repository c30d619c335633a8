// The Gemini request body and the validation of its answer: the schema offers only
// the given projects, the limits hold at their edges, and every kind of bad answer is
// refused with its own text. Then the client against a real HTTPS server on loopback
// with a certificate made for the test: what leaves (one POST, the key only in its
// header), and how every kind of answer ends, as the user would see it and with its
// effect on online AI.
#include "ai/gemini_client.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "ai/gemini_answer.h"
#include "ai/gemini_payload.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/kelo_error.h"
#include "support/refusal.h"
#include "support/tls_test_server.h"

namespace kelo {
namespace {

namespace GP = GeminiPayload;
using testing::adviceJson;
using testing::CannedResponse;
using testing::envelope;
using testing::refusalOf;
using testing::rejectedText;
using testing::TlsTestServer;

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

constexpr std::string_view kKey = "AIzaTestKey_0123456789-abcdefXYZ";
const std::string kEndpoint(GeminiPayload::kEndpointPath);

GeminiTransport trusting(const TlsTestServer& server, const std::string& prefix) {
    GeminiTransport transport;
    transport.baseUrl = server.baseUrl() + prefix;
    transport.extraCertificate = server.certificateFile();
    return transport;
}

const AIProjectContext kProject{*Uuid::parse("6F1C2A8E-3B4D-4E5F-8A9B-0C1D2E3F4A5B"), "Lotus Spa"};

std::string validAnswer() {
    return envelope(adviceJson(kProject.id.text()));
}

// The valid answer followed by spaces (still valid JSON) up to `size` bytes.
std::string paddedAnswer(std::size_t size) {
    std::string body = validAnswer();
    body.resize(size, ' ');
    return body;
}

// What a sent request ends as: the suggested filename, or the text the user is shown.
std::string seenByUser(const GeminiClient::Result& result, const FileRecord& file) {
    if (const auto* failure = std::get_if<GeminiFailure>(&result)) return userText(*failure);
    try {
        return GeminiPayload::advice(std::get<std::string>(result), file, {kProject}, std::nullopt).filename;
    } catch (const KeloError&) {
        return std::string(kRequestFailedText);
    }
}

TEST(GeminiClientTest, EveryKindOfAnswerEndsOnceWithItsTextAndEffect) {
    TlsTestServer server;
    CannedResponse redirect{302};
    redirect.headers = {{"Location", server.baseUrl() + "/moved" + kEndpoint}};
    server.respond("/moved" + kEndpoint, CannedResponse{200, validAnswer()});
    CannedResponse chunkedFits{200, paddedAnswer(262'144)};
    chunkedFits.chunked = true;
    CannedResponse chunkedOver{200, paddedAnswer(262'145)};
    chunkedOver.chunked = true;
    CannedResponse interim;
    interim.raw = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(validAnswer().size()) +
                  "\r\nConnection: close\r\n\r\n" + validAnswer();

    const std::string suggested = "LS-Social-Post1.png";
    const std::string failed(kRequestFailedText);
    struct Case {
        std::string name;
        CannedResponse response;
        std::string seen;
        AIFailureEffect effect;  // ignored when the answer was used
    };
    const std::vector<Case> cases = {
        {"valid", CannedResponse{200, validAnswer()}, suggested, {}},
        {"cutoff",
         CannedResponse{200, R"({"candidates":[{"content":{"parts":[{"text":"{}"}]},"finishReason":"MAX_TOKENS"}]})"},
         failed, AIFailureEffect::pauseFiveMinutes},
        {"notjson", CannedResponse{200, "<html>oops</html>"}, failed, AIFailureEffect::pauseFiveMinutes},
        {"empty", CannedResponse{200, ""}, failed, AIFailureEffect::pauseFiveMinutes},
        {"s400", CannedResponse{400}, rejectedText(400), AIFailureEffect::switchOff},
        {"s401", CannedResponse{401}, rejectedText(401), AIFailureEffect::switchOff},
        {"s403", CannedResponse{403}, rejectedText(403), AIFailureEffect::switchOff},
        {"s404", CannedResponse{404}, rejectedText(404), AIFailureEffect::switchOff},
        {"s429", CannedResponse{429}, std::string(kQuotaExhaustedText), AIFailureEffect::pauseUntilTomorrow},
        {"s500", CannedResponse{500, std::string(300'000, 'e')}, rejectedText(500), AIFailureEffect::pauseFiveMinutes},
        {"s201", CannedResponse{201, validAnswer()}, rejectedText(201), AIFailureEffect::pauseFiveMinutes},
        {"s302", redirect, rejectedText(302), AIFailureEffect::pauseFiveMinutes},
        {"fits", CannedResponse{200, paddedAnswer(262'144)}, suggested, {}},
        {"over", CannedResponse{200, paddedAnswer(262'145)}, failed, AIFailureEffect::pauseFiveMinutes},
        {"chunkedfits", chunkedFits, suggested, {}},
        {"chunkedover", chunkedOver, failed, AIFailureEffect::pauseFiveMinutes},
        {"interim", interim, suggested, {}},
        {"nothttp", CannedResponse{0}, failed, AIFailureEffect::pauseFiveMinutes},  // "HTTP/1.1 0": no HTTP status line
    };
    FileRecord file;
    file.url = "/inbox/post.png";
    const std::string body = R"({"contents":[]})";

    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        server.respond("/" + c.name + kEndpoint, c.response);
        const std::size_t before = server.requests().size();
        const auto result = GeminiClient::send(body, kKey, trusting(server, "/" + c.name));

        EXPECT_EQ(seenByUser(result, file), c.seen);
        // Too large or not HTTP is the transport's own refusal, before any reading of the body.
        const bool invalidResponse = c.name == "over" || c.name == "chunkedover" || c.name == "nothttp";
        if (const auto* failure = std::get_if<GeminiFailure>(&result)) {
            EXPECT_EQ(invalidResponse, failure->kind == GeminiFailureKind::invalidResponse);
            EXPECT_EQ(effectOf(*failure), c.effect);
            EXPECT_EQ(failure->detail.find(kKey), std::string::npos);
        } else {
            EXPECT_FALSE(invalidResponse);
            EXPECT_LE(std::get<std::string>(result).size(), 262'144u);
        }
        // Exactly one request, redirects included; the key only in its header.
        const auto requests = server.requests();
        ASSERT_EQ(requests.size(), before + 1);
        const auto& request = requests.back();
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.target, "/" + c.name + kEndpoint);
        EXPECT_EQ(request.headers.at("x-goog-api-key"), kKey);
        EXPECT_EQ(request.headers.at("content-type"), "application/json");
        EXPECT_EQ(request.body, body);
        for (const auto& [name, value] : request.headers)
            EXPECT_TRUE(name == "x-goog-api-key" || value.find(kKey) == std::string::npos) << name;
        EXPECT_EQ(request.target.find(kKey), std::string::npos);
    }
}

// A server that never answers, once the connection is made: the whole exchange's
// limit ends it (the idle limit and cancellation are exercised end to end by the
// engine's request tests). Whether the request got as far as the server depends on
// the TLS handshake's time on a busy machine, so only "at most once" is asserted.
TEST(GeminiClientTest, ServerThatNeverAnswersTimesOut) {
    TlsTestServer server;
    CannedResponse silent;
    silent.hang = true;
    server.respond("/timeout" + kEndpoint, silent);
    GeminiTransport quick = trusting(server, "/timeout");
    quick.resourceTimeout = std::chrono::seconds(1);
    const auto result = GeminiClient::send("{}", kKey, quick);
    ASSERT_TRUE(std::holds_alternative<GeminiFailure>(result));
    EXPECT_EQ(std::get<GeminiFailure>(result).kind, GeminiFailureKind::network);
    EXPECT_EQ(effectOf(std::get<GeminiFailure>(result)), AIFailureEffect::pauseFiveMinutes);
    EXPECT_LE(server.requestsFor("/timeout" + kEndpoint), 1u);
}

TEST(GeminiClientTest, SendsOnlyOverVerifiedHttps) {
    TlsTestServer server;
    server.respond(kEndpoint, CannedResponse{200, validAnswer()});

    GeminiTransport plain = trusting(server, "");
    plain.baseUrl = "http://127.0.0.1:" + std::to_string(server.port());
    const auto refused = GeminiClient::send("{}", kKey, plain);
    ASSERT_TRUE(std::holds_alternative<GeminiFailure>(refused));
    EXPECT_EQ(std::get<GeminiFailure>(refused).detail, kHttpsOnlyText);

    // Without the test's certificate the server is not trusted, and nothing is sent.
    GeminiTransport untrusted = trusting(server, "");
    untrusted.extraCertificate.reset();
    const auto unverified = GeminiClient::send("{}", kKey, untrusted);
    ASSERT_TRUE(std::holds_alternative<GeminiFailure>(unverified));
    EXPECT_EQ(std::get<GeminiFailure>(unverified).kind, GeminiFailureKind::network);
    EXPECT_TRUE(server.requests().empty());

    // A key that would break out of its header line is never sent.
    const auto injected = GeminiClient::send("{}", "abc\r\nX-Other: 1", trusting(server, ""));
    EXPECT_TRUE(std::holds_alternative<GeminiFailure>(injected));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_TRUE(std::holds_alternative<std::string>(GeminiClient::send("{}", kKey, trusting(server, ""))));
}

TEST(GeminiClientTest, EnvironmentChoosesEndpointAndExtraCertificate) {
    struct Restore {
        ~Restore() {
            ::unsetenv("KELO_GEMINI_ENDPOINT");
            ::unsetenv("KELO_GEMINI_CA_FILE");
        }
    } restore;
    ::unsetenv("KELO_GEMINI_ENDPOINT");
    ::unsetenv("KELO_GEMINI_CA_FILE");
    EXPECT_EQ(GeminiTransport::fromEnvironment().url(),
              "https://generativelanguage.googleapis.com/v1beta/models/gemini-3.5-flash-lite:generateContent");
    EXPECT_FALSE(GeminiTransport::fromEnvironment().extraCertificate);

    // The environment alone points a request at the loopback server, a trailing slash
    // on the endpoint included.
    TlsTestServer server;
    server.respond("/gw" + kEndpoint, CannedResponse{200, validAnswer()});
    ::setenv("KELO_GEMINI_ENDPOINT", (server.baseUrl() + "/gw/").c_str(), 1);
    ::setenv("KELO_GEMINI_CA_FILE", server.certificateFile().c_str(), 1);
    const auto answered = GeminiClient::send("{}", kKey);
    ASSERT_TRUE(std::holds_alternative<std::string>(answered));
    EXPECT_EQ(std::get<std::string>(answered), validAnswer());
    EXPECT_EQ(server.requestsFor("/gw" + kEndpoint), 1u);

    ::setenv("KELO_GEMINI_ENDPOINT", "http://gateway.example", 1);
    EXPECT_EQ(refusalOf([] { GeminiTransport::fromEnvironment(); }), kHttpsOnlyText);
}

}  // namespace
}  // namespace kelo
