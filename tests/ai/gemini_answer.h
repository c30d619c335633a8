// The answers the Gemini tests hand back, by the payload tests directly and by the
// loopback server in the client and desktop-app tests: one candidate whose text is
// the advice the model is asked to write; and the text a refused request shows.
// Test code only.
#pragma once

#include <string>

#include "model/json_codec.h"

namespace kelo::testing {

// A generateContent answer whose one candidate holds `text`.
inline std::string envelope(const std::string& text, const std::string& finish = "STOP") {
    return Json{
        {"candidates", {{{"content", {{"parts", {{{"text", text}}}}, {"role", "model"}}}, {"finishReason", finish}}}}}
        .dump();
}

// The advice itself, for the project with this id (or "unknown").
inline std::string adviceJson(const std::string& project, const std::string& stem = "LS-Social-Post1",
                              const std::string& reason = "Tên tệp có chữ LS.", const std::string& category = "Export",
                              const std::string& confidence = "high") {
    return Json{
        {"project_id", project}, {"category", category}, {"stem", stem}, {"reason", reason}, {"confidence", confidence}}
        .dump();
}

// What the user is told when Gemini refuses a request with this HTTP status.
inline std::string rejectedText(int code) {
    return "Gemini rejected this request (HTTP " + std::to_string(code) +
           "). No retry. Check Free Tier key/model access in Settings.";
}

}  // namespace kelo::testing
