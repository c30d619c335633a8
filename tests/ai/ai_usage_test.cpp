// Online AI below the engine. The daily counter, quota pause, record following and
// eligibility, on fixed clocks and named time zones. The Gemini request body and the
// validation of its answer: the schema offers only the given projects, the limits
// hold at their edges, and every kind of bad answer is refused with its own text.
// Then the client against a real HTTPS server on loopback with a certificate made
// for the test: what leaves (one POST, the key only in its header), and how every
// kind of answer ends, as the user would see it and with its effect on online AI.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ai/ai_eligibility.h"
#include "ai/ai_state.h"
#include "ai/day_calendar.h"
#include "ai/gemini_answer.h"
#include "ai/gemini_client.h"
#include "ai/gemini_payload.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/kelo_error.h"
#include "operations/operation_plan.h"
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

// 2026-03-07 12:00:00 UTC.
const Date kNoon = Date::fromUnix(1772884800);

FileRecord file(const std::string& path, std::uint64_t size = 1000, std::uint64_t inode = 1) {
    FileRecord record;
    record.url = path;
    record.sourceFolder = std::filesystem::path(path).parent_path();
    record.identity = {7, inode, size, kNoon.adding(-3600)};
    record.created = kNoon.adding(-7200);
    return record;
}

AIState readyState(std::int64_t limit = 3) {
    AIState state;
    state.configuration.enabled = state.configuration.freeTierConfirmed = true;
    state.configuration.dataUseAcknowledged = true;
    state.configuration.dailyLimit = limit;
    state.configuration.allowedFolders = {"/inbox"};
    return state;
}

TEST(AIUsageTest, DayKeysAreUnpaddedLocalDays) {
    EXPECT_EQ(AIState::day(kNoon, DayCalendar("UTC")), "2026-3-7");
    // 23:30 UTC is already the next day in Hanoi and still the same day in New York.
    const Date lateEvening = kNoon.adding(11.5 * 3600);
    EXPECT_EQ(AIState::day(lateEvening, DayCalendar("Asia/Ho_Chi_Minh")), "2026-3-8");
    EXPECT_EQ(AIState::day(lateEvening, DayCalendar("America/New_York")), "2026-3-7");

    AIState state = readyState();
    state.usageDay = "2026-03-07";
    state.requestsToday = 3;
    EXPECT_EQ(state.used(kNoon, DayCalendar("UTC")), 0) << "padded keys are another day";
    state.usageDay = "2026-3-7";
    EXPECT_EQ(state.used(kNoon, DayCalendar("UTC")), 3);
}

TEST(AIUsageTest, DailyLimitHoldsUntilLocalMidnightAndAVersionIsSentOnce) {
    const DayCalendar utc("UTC");
    AIState state = readyState(3);
    for (int i = 1; i <= 3; ++i) {
        const Uuid id = state.reserve(kNoon, utc, file("/inbox/" + std::to_string(i) + ".png", 10, i));
        EXPECT_EQ(state.records.back().id, id);
        EXPECT_EQ(state.records.back().status, AIRecordStatus::started);
    }
    EXPECT_EQ(state.requestsToday, 3);
    EXPECT_FALSE(state.canRequest(kNoon, utc));
    EXPECT_EQ(refusalOf([&] { state.reserve(kNoon, utc, file("/inbox/4.png", 10, 4)); }), kAIUnavailableMessage);
    EXPECT_EQ(state.records.size(), 3u);

    const Date tomorrow = kNoon.adding(12 * 3600);
    state.reserve(tomorrow, utc, file("/inbox/4.png", 10, 4));
    EXPECT_EQ(state.usageDay, "2026-3-8");
    EXPECT_EQ(state.requestsToday, 1);
    EXPECT_EQ(state.lastRequestAt, tomorrow);

    // One saved version is sent once, whatever became of it; an edited one is new.
    state.records.back().status = AIRecordStatus::failed;
    EXPECT_EQ(refusalOf([&] { state.reserve(tomorrow, utc, file("/inbox/4.png", 10, 4)); }),
              kAIAlreadyProcessedMessage);
    EXPECT_EQ(refusalOf([&] { state.reserve(tomorrow, utc, file("/inbox/4.png", 11, 4)); }), "");
}

TEST(AIUsageTest, NotReadyOrPausedRefusesAndThePauseEndsAtLocalMidnight) {
    const DayCalendar utc("UTC");
    AIState off = readyState();
    off.configuration.dataUseAcknowledged = false;
    EXPECT_EQ(refusalOf([&] { off.reserve(kNoon, utc, file("/inbox/a.png")); }), kAIUnavailableMessage);

    AIState state = readyState();
    const Date lateMinute = Date::fromUnix(1772884800 + 11 * 3600 + 59 * 60);  // 23:59
    state.markQuotaExhausted(lateMinute, utc);
    EXPECT_EQ(state.pausedUntil, lateMinute.adding(60));
    EXPECT_FALSE(state.canRequest(lateMinute.adding(59), utc));
    EXPECT_TRUE(state.canRequest(lateMinute.adding(60), utc)) << "a pause ending now allows requests";

    const Date earlyMinute = Date::fromUnix(1772841600 + 60);  // 00:01
    state.markQuotaExhausted(earlyMinute, utc);
    EXPECT_EQ(state.pausedUntil, earlyMinute.adding(86400 - 60));

    // In Hanoi (UTC+7) local midnight is 17:00 UTC.
    state.markQuotaExhausted(kNoon, DayCalendar("Asia/Ho_Chi_Minh"));
    EXPECT_EQ(state.pausedUntil, kNoon.adding(5 * 3600));
}

TEST(AIUsageTest, TheOldestRecordsGoBeyondFiveHundred) {
    const DayCalendar utc("UTC");
    AIState state = readyState(50);
    for (int i = 0; i < 501; ++i) {
        state.requestsToday = 0;
        state.reserve(kNoon, utc, file("/inbox/f.png", 10, 100 + i));
    }
    ASSERT_EQ(state.records.size(), AIState::kMaximumRecords);
    EXPECT_EQ(state.records.front().file.identity.inode, 101u);
    EXPECT_EQ(state.records.back().file.identity.inode, 600u);
    EXPECT_TRUE(state.valid());
}

TEST(AIUsageTest, RecordsFollowCompletedMovesAndRenames) {
    const DayCalendar utc("UTC");
    AIState state = readyState(50);
    const FileRecord moved = file("/inbox/a.png", 10, 1), renamed = file("/inbox/b.png", 10, 2),
                     untouched = file("/inbox/c.png", 10, 3);
    for (const auto& record : {moved, renamed, untouched}) state.reserve(kNoon, utc, record);
    state.records[0].status = AIRecordStatus::suggested;

    const auto operation = [](const FileRecord& from, const char* to, FileIdentity identity,
                              OperationType type = OperationType::move) {
        return PlannedOperation{Uuid::random(), Uuid::random(), from.url, to, identity, type, std::nullopt};
    };
    FileIdentity otherIdentity = untouched.identity;
    otherIdentity.size += 1;
    const PlannedOperation move = operation(moved, "/work/P/Logo/a.png", moved.identity),
                           rename = operation(renamed, "/inbox/b2.png", renamed.identity, OperationType::rename),
                           stale = operation(untouched, "/x/c.png", otherIdentity),
                           notDone = operation(untouched, "/y/c.png", untouched.identity);

    EXPECT_TRUE(state.follow({move, rename, stale, notDone}, {move.id, rename.id, stale.id}));
    FileRecord followed = moved;
    followed.url = "/work/P/Logo/a.png", followed.sourceFolder = "/work/P/Logo";
    EXPECT_EQ(state.records[0].file, followed);
    EXPECT_EQ(state.records[0].status, AIRecordStatus::suggested);
    EXPECT_EQ(state.records[1].file.url, "/inbox/b2.png");
    EXPECT_EQ(state.records[1].status, AIRecordStatus::dismissed);
    EXPECT_EQ(state.records[1].note, kAIRenamedNote);
    EXPECT_EQ(state.records[2].file, untouched);
    EXPECT_FALSE(state.follow({move}, {move.id})) << "nothing left at the old path";
}

TEST(AIEligibilityTest, OnlyApprovedAndAllowedRootsAllow) {
    AIConfiguration configuration = readyState().configuration;
    configuration.allowedFolders = {"/inbox", "/gone"};
    const FileRecord inside = file("/inbox/sub/a.png");
    EXPECT_TRUE(AIEligibility::allowed(inside, configuration, {"/other", "/inbox/"}));
    EXPECT_FALSE(AIEligibility::allowed(file("/inboxes/a.png"), configuration, {"/inbox"}));
    EXPECT_FALSE(AIEligibility::allowed(file("/gone/a.png"), configuration, {"/inbox"}))
        << "an allowed folder no longer approved allows nothing";
    EXPECT_FALSE(AIEligibility::allowed(file("/other/a.png"), configuration, {"/other"}));
}

TEST(AIEligibilityTest, PreviewLimitsAreInclusive) {
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.PNG", 52428800)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.png", 52428801)));
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.psd", 2147483648ULL)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.ai", 2147483649ULL)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.psb", 10)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.pdf", 10)));
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.heic", 10)));
}

TEST(AIEligibilityTest, AutomaticWaitsForQuietAndSkipsOldOrSentFiles) {
    const FileRecord record = file("/inbox/a.png");
    const Date modified = record.identity.modified;
    AIState state = readyState();
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(29)));
    EXPECT_TRUE(AIEligibility::automatic(record, state, modified.adding(30)));
    EXPECT_TRUE(AIEligibility::automatic(record, state, modified.adding(604800)));
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(604801)));
    EXPECT_FALSE(AIEligibility::automatic(file("/inbox/a.psb"), state, modified.adding(60)));
    state.reserve(modified.adding(60), DayCalendar("UTC"), record);
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(60)));
}

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
    const Json bare = Json::parse(GP::body(jpeg, "{}", {}));
    EXPECT_EQ(bare["generationConfig"]["responseJsonSchema"]["properties"]["project_id"]["enum"],
              Json::array({"unknown"}));
}

TEST(GeminiPayloadTest, LimitsHoldAtTheirEdges) {
    const FileRecord file = fileNamed("a.png");
    auto longName = someProjects(1);
    longName[0].name = std::string(256, 'x');
    auto tooLong = longName;
    tooLong[0].name += "x";
    const std::tuple<const char*, std::function<void()>, std::string_view> cases[] = {
        // the refusal, empty if none
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
    for (const auto& [what, call, refusal] : cases) EXPECT_EQ(refusalOf(call), refusal) << what;
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
    const auto refusalFor = [&](const std::string& response, std::optional<Uuid> known = std::nullopt,
                                const std::string& name = "a.png") {
        return refusalOf([&] { GP::advice(response, fileNamed(name), projects, known); });
    };
    EXPECT_EQ(refusalFor(std::string(262'145, ' ')), GP::kResponseTooLarge);
    const std::pair<const char*, std::string> incomplete[] = {
        {"not JSON", "<html>"},
        {"no candidates", R"({"candidates":[]})"},
        {"no content", R"({"candidates":[{"finishReason":"STOP"}]})"},
        {"no finish reason", R"({"candidates":[{"content":{"parts":[{"text":"x"}]}}]})"},
        {"wrong part type", R"({"candidates":[{"content":{"parts":[{"text":5}]},"finishReason":"STOP"}]})"},
        {"cut off", envelope(adviceJson(listed), "MAX_TOKENS")},
    };
    for (const auto& [what, response] : incomplete) EXPECT_EQ(refusalFor(response), GP::kIncompleteSuggestion) << what;
    // The text of a well-formed envelope.
    const std::tuple<const char*, std::string, std::string_view> cases[] = {
        // the refusal, empty if none
        {"empty text", "", GP::kIncompleteSuggestion},
        {"text too large", std::string(16'001, ' '), GP::kSuggestionTooLarge},
        {"text not JSON", "I think Project 1", GP::kIncompleteSuggestion},
        {"missing field", R"({"project_id":"unknown","category":"Export","stem":"a","reason":"b"})",
         GP::kIncompleteSuggestion},
        {"unknown category", adviceJson(listed, "a", "b", "Final"), GP::kIncompleteSuggestion},
        {"unknown confidence", adviceJson(listed, "a", "b", "Export", "certain"), GP::kIncompleteSuggestion},
        {"project not offered", adviceJson(Uuid::random().text()), GP::kUnavailableProject},
        {"project not a UUID", adviceJson("Project 1"), GP::kUnavailableProject},
        {"empty stem", adviceJson(listed, ""), GP::kInvalidStemOrReason},
        {"stem starts with hyphen", adviceJson(listed, "-Post"), GP::kInvalidStemOrReason},
        {"stem with path", adviceJson(listed, "../etc/passwd"), GP::kInvalidStemOrReason},
        {"stem with extension", adviceJson(listed, "Post.png"), GP::kInvalidStemOrReason},
        {"stem too long", adviceJson(listed, std::string(161, 'a')), GP::kInvalidStemOrReason},
        {"empty reason", adviceJson(listed, "Post", ""), GP::kInvalidStemOrReason},
        {"reason too long", adviceJson(listed, "Post", std::string(501, 'r')), GP::kInvalidStemOrReason},
        // At the limits: 160 bytes of stem (Vietnamese letters count by byte) and 500
        // characters of reason are fine.
        {"longest stem and reason", adviceJson(listed, std::string(160, 'a'), std::string(500, 'r')), {}},
        {"Vietnamese", adviceJson(listed, "Bìa-Đẹp", "ổn"), {}},
    };
    for (const auto& [what, text, refusal] : cases) EXPECT_EQ(refusalFor(envelope(text)), refusal) << what;
    EXPECT_EQ(refusalFor(envelope(adviceJson(projects[1].id.text())), projects[0].id), GP::kUnavailableProject)
        << "conflicts with the known project";
    // A stem that fits its own limit but not with the extension.
    EXPECT_EQ(
        refusalFor(envelope(adviceJson(listed, std::string(160, 'a'))), std::nullopt, "a." + std::string(100, 'e')),
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
    // The path's name, the answer, what the user sees, and the effect (ignored when the answer was used).
    const std::tuple<std::string, CannedResponse, std::string, AIFailureEffect> cases[] = {
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

    for (const auto& [name, response, seen, effect] : cases) {
        SCOPED_TRACE(name);
        server.respond("/" + name + kEndpoint, response);
        const std::size_t before = server.requests().size();
        const auto result = GeminiClient::send(body, kKey, trusting(server, "/" + name));

        EXPECT_EQ(seenByUser(result, file), seen);
        // Too large or not HTTP is the transport's own refusal, before any reading of the body.
        const bool invalidResponse = name == "over" || name == "chunkedover" || name == "nothttp";
        if (const auto* failure = std::get_if<GeminiFailure>(&result)) {
            EXPECT_EQ(invalidResponse, failure->kind == GeminiFailureKind::invalidResponse);
            EXPECT_EQ(effectOf(*failure), effect);
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
        EXPECT_EQ(request.target, "/" + name + kEndpoint);
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
    const auto failure = std::get<GeminiFailure>(GeminiClient::send("{}", kKey, quick));  // throws when answered
    EXPECT_EQ(failure.kind, GeminiFailureKind::network);
    EXPECT_EQ(effectOf(failure), AIFailureEffect::pauseFiveMinutes);
    EXPECT_LE(server.requestsFor("/timeout" + kEndpoint), 1u);
}

TEST(GeminiClientTest, SendsOnlyOverVerifiedHttps) {
    TlsTestServer server;
    server.respond(kEndpoint, CannedResponse{200, validAnswer()});

    GeminiTransport plain = trusting(server, "");
    plain.baseUrl = "http://127.0.0.1:" + std::to_string(server.port());
    EXPECT_EQ(std::get<GeminiFailure>(GeminiClient::send("{}", kKey, plain)).detail, kHttpsOnlyText);

    // Without the test's certificate the server is not trusted, and nothing is sent.
    GeminiTransport untrusted = trusting(server, "");
    untrusted.extraCertificate.reset();
    EXPECT_EQ(std::get<GeminiFailure>(GeminiClient::send("{}", kKey, untrusted)).kind, GeminiFailureKind::network);
    EXPECT_TRUE(server.requests().empty());

    // A key that would break out of its header line is never sent.
    EXPECT_TRUE(
        std::holds_alternative<GeminiFailure>(GeminiClient::send("{}", "abc\r\nX-Other: 1", trusting(server, ""))));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_TRUE(std::holds_alternative<std::string>(GeminiClient::send("{}", kKey, trusting(server, ""))));
}

TEST(GeminiClientTest, EnvironmentChoosesEndpointAndExtraCertificate) {
    struct Restore {
        ~Restore() { ::unsetenv("KELO_GEMINI_ENDPOINT"), ::unsetenv("KELO_GEMINI_CA_FILE"); }
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
    EXPECT_EQ(std::get<std::string>(GeminiClient::send("{}", kKey)), validAnswer());
    EXPECT_EQ(server.requestsFor("/gw" + kEndpoint), 1u);

    ::setenv("KELO_GEMINI_ENDPOINT", "http://gateway.example", 1);
    EXPECT_EQ(refusalOf([] { GeminiTransport::fromEnvironment(); }), kHttpsOnlyText);
}

}  // namespace
}  // namespace kelo
