// GeminiFailure: how one Gemini request can end without an answer, and what the
// user is told and what happens to online AI for each. A plain value; any thread
// may use it. The texts are the only ones a sent request shows: the specific
// validation texts of GeminiPayload::advice are folded into the general one.
#pragma once

#include <string>
#include <string_view>

namespace kelo {

enum class GeminiFailureKind {
    rejected,         // any HTTP status but 200 and 429; `status` holds it
    quota,            // HTTP 429
    invalidResponse,  // not HTTP, or a body over the response limit
    network,          // no answer: connection, TLS, timeout, refused endpoint
    cancelled,        // the caller stopped it; it may have reached Google
};

struct GeminiFailure {
    GeminiFailureKind kind = GeminiFailureKind::network;
    long status = 0;
    // For logs: what went wrong underneath (a libcurl message). Never holds the key.
    std::string detail;
};

// What online AI does after a failed request, beyond recording it.
enum class AIFailureEffect {
    switchOff,           // configuration.enabled = false, fresh revision
    pauseFiveMinutes,    // pausedUntil = now + 300 s
    pauseUntilTomorrow,  // markQuotaExhausted
    none,
};

inline constexpr std::string_view kQuotaExhaustedText =
    "Provider quota exhausted. Online AI paused until tomorrow; no retry or paid fallback.";
inline constexpr std::string_view kRequestCancelledText =
    "Request cancelled. It may already have reached Google; reserved usage is retained.";
inline constexpr std::string_view kRequestFailedText =
    "AI request failed or returned an invalid/stale suggestion. Nothing changed; no automatic retry.";
inline constexpr std::string_view kChangedAfterUploadText =
    "File changed after upload. Its AI suggestion was discarded.";

// "Gemini rejected this request (HTTP N). No retry. ..." for `rejected`, and the
// fixed sentence of every other kind.
std::string userText(const GeminiFailure& failure);

// 400, 401, 403 and 404 mean the key or model cannot be used: online AI switches
// itself off. Any other rejection and every unexplained failure pause it for five
// minutes, so a broken connection cannot use up the daily cap.
AIFailureEffect effectOf(const GeminiFailure& failure);

}  // namespace kelo
