#include "ai/gemini_payload.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

#include "access/path_safety.h"
#include "model/category.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/kelo_error.h"
#include "model/unicode_text.h"

namespace kelo::GeminiPayload {

namespace {

[[noreturn]] void fail(std::string_view text) {
    throw KeloError::unsafe(std::string(text));
}

// A filename that is not valid UTF-8 reaches the model with U+FFFD in place of the
// bad bytes rather than failing the request.
std::string compact(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void checkProjects(const std::vector<AIProjectContext>& projects, const std::optional<Uuid>& knownProject) {
    if (projects.size() > kMaximumProjects) fail(kTooManyProjects);
    for (const auto& project : projects)
        if (project.name.size() > kProjectNameLimit) fail(kTooManyProjects);
    if (knownProject && std::none_of(projects.begin(), projects.end(),
                                     [&](const AIProjectContext& p) { return p.id == *knownProject; }))
        fail(kTooManyProjects);
}

Json stringEnum(std::vector<std::string> values) {
    return Json{{"type", "string"}, {"enum", std::move(values)}};
}

Json responseSchema(const std::vector<AIProjectContext>& projects) {
    std::vector<std::string> ids;
    for (const auto& project : projects) ids.push_back(project.id.text());
    ids.emplace_back("unknown");
    std::vector<std::string> categories;
    for (const auto& [category, raw] : rawValues(Category{})) categories.emplace_back(raw);
    std::vector<std::string> confidences;
    for (const auto& [confidence, raw] : rawValues(AIConfidence{})) confidences.emplace_back(raw);
    return Json{{"type", "object"},
                {"properties",
                 {{"project_id", stringEnum(std::move(ids))},
                  {"category", stringEnum(std::move(categories))},
                  {"stem", {{"type", "string"}}},
                  {"reason", {{"type", "string"}}},
                  {"confidence", stringEnum(std::move(confidences))}}},
                {"required", {"project_id", "category", "stem", "reason", "confidence"}}};
}

// The first candidate's text with thought parts left out, or nothing when the
// envelope does not have the shape generateContent answers with.
std::optional<std::string> answerText(const Json& envelope) {
    if (!envelope.is_object()) return std::nullopt;
    const auto candidates = envelope.find("candidates");
    if (candidates == envelope.end() || !candidates->is_array() || candidates->empty()) return std::nullopt;
    // Every candidate must decode, not only the one we read.
    for (const auto& candidate : *candidates) {
        if (!candidate.is_object()) return std::nullopt;
        if (auto reason = candidate.find("finishReason");
            reason != candidate.end() && !reason->is_null() && !reason->is_string())
            return std::nullopt;
        if (auto content = candidate.find("content"); content != candidate.end() && !content->is_null()) {
            const auto parts = content->find("parts");
            if (!content->is_object() || parts == content->end() || !parts->is_array()) return std::nullopt;
            for (const auto& part : *parts) {
                if (!part.is_object()) return std::nullopt;
                auto text = part.find("text");
                auto thought = part.find("thought");
                if ((text != part.end() && !text->is_null() && !text->is_string()) ||
                    (thought != part.end() && !thought->is_null() && !thought->is_boolean()))
                    return std::nullopt;
            }
        }
    }
    const Json& first = candidates->front();
    const auto content = first.find("content");
    const auto reason = first.find("finishReason");
    if (content == first.end() || content->is_null() || reason == first.end() || reason->is_null() || *reason != "STOP")
        return std::nullopt;
    std::string joined;
    for (const auto& part : content->at("parts")) {
        if (auto thought = part.find("thought"); thought != part.end() && thought->is_boolean() && thought->get<bool>())
            continue;
        if (auto text = part.find("text"); text != part.end() && text->is_string())
            joined += text->get_ref<const std::string&>();
    }
    return joined;
}

struct Output {
    std::string projectID;
    Category category;
    std::string stem;
    std::string reason;
    AIConfidence confidence;
};

std::optional<Output> decodeOutput(const std::string& text) {
    const Json value = Json::parse(text, nullptr, false);
    if (!value.is_object()) return std::nullopt;
    const auto field = [&](const char* key) -> const std::string* {
        auto it = value.find(key);
        return it != value.end() && it->is_string() ? &it->get_ref<const std::string&>() : nullptr;
    };
    const std::string* project = field("project_id");
    const std::string* category = field("category");
    const std::string* stem = field("stem");
    const std::string* reason = field("reason");
    const std::string* confidence = field("confidence");
    if (!project || !category || !stem || !reason || !confidence) return std::nullopt;
    auto categoryValue = enumFromRaw<Category>(*category);
    auto confidenceValue = enumFromRaw<AIConfidence>(*confidence);
    if (!categoryValue || !confidenceValue) return std::nullopt;
    return Output{*project, *categoryValue, *stem, *reason, *confidenceValue};
}

std::optional<Uuid> chosenProject(const std::string& answer, const std::vector<AIProjectContext>& projects,
                                  const std::optional<Uuid>& knownProject) {
    if (answer == "unknown") return std::nullopt;
    const auto id = Uuid::parse(answer);
    if (!id || std::none_of(projects.begin(), projects.end(), [&](const AIProjectContext& p) { return p.id == *id; }) ||
        (knownProject && *knownProject != *id))
        fail(kUnavailableProject);
    return id;
}

// Letters (with their combining marks), decimal digits, "_" and "-", in valid UTF-8.
bool stemCharacters(std::string_view stem) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(stem.data());
    const auto length = static_cast<std::int32_t>(stem.size());
    for (std::int32_t i = 0; i < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) return false;
        if (c == '_' || c == '-') continue;
        const auto mask = U_GET_GC_MASK(c);
        if ((mask & (U_GC_L_MASK | U_GC_M_MASK | U_GC_ND_MASK)) == 0) return false;
    }
    return true;
}

bool validStem(const std::string& stem) {
    return !stem.empty() && stem.size() <= kStemLimit && stem.front() != '-' && stemCharacters(stem);
}

bool validReason(const std::string& reason) {
    return !reason.empty() && graphemeCount(reason) <= kReasonLimit;
}

}  // namespace

std::string context(const FileRecord& file, const std::vector<AIProjectContext>& projects,
                    const std::optional<Uuid>& knownProject) {
    checkProjects(projects, knownProject);
    Json list = Json::array();
    for (const auto& project : projects) list.push_back({{"id", project.id.text()}, {"name", project.name}});
    return compact(Json{{"filename", file.filename()},
                        {"projects", std::move(list)},
                        {"knownProject", knownProject ? knownProject->text() : std::string("unknown")}});
}

std::string body(std::string_view jpeg, std::string_view context, const std::vector<AIProjectContext>& projects) {
    if (jpeg.empty() || jpeg.size() > kPreviewLimit || context.size() > kContextLimit) fail(kPayloadTooLarge);
    try {
        const Json userParts =
            Json::array({{{"text", std::string(context)}},
                         {{"inline_data",
                           {{"mime_type", "image/jpeg"}, {"data", base64Encode(Bytes(jpeg.begin(), jpeg.end()))}}}}});
        const Json request{
            {"systemInstruction", {{"parts", Json::array({{{"text", std::string(kSystemInstruction)}}})}}},
            {"contents", Json::array({{{"role", "user"}, {"parts", userParts}}})},
            {"generationConfig",
             {{"responseMimeType", "application/json"},
              {"responseJsonSchema", responseSchema(projects)},
              {"maxOutputTokens", kMaxOutputTokens}}}};
        return request.dump();
    } catch (const Json::exception&) {
        fail(kPayloadTooLarge);
    }
}

AIAdvice advice(std::string_view response, const FileRecord& file, const std::vector<AIProjectContext>& projects,
                const std::optional<Uuid>& knownProject) {
    if (response.size() > kResponseLimit) fail(kResponseTooLarge);
    const auto text = answerText(Json::parse(response, nullptr, false));
    if (!text || text->empty()) fail(kIncompleteSuggestion);
    if (text->size() > kAnswerTextLimit) fail(kSuggestionTooLarge);
    const auto output = decodeOutput(*text);
    if (!output) fail(kIncompleteSuggestion);

    AIAdvice result;
    result.projectID = chosenProject(output->projectID, projects, knownProject);
    if (!validStem(output->stem) || !validReason(output->reason)) fail(kInvalidStemOrReason);
    const std::string extension = pathExtension(file.filename());
    result.filename = extension.empty() ? output->stem : output->stem + "." + extension;
    if (!PathSafety::validName(result.filename)) fail(kInvalidFilename);
    result.category = output->category;
    result.reason = output->reason;
    result.confidence = output->confidence;
    return result;
}

}  // namespace kelo::GeminiPayload
