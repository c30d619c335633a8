// GeminiClient: one HTTPS POST to Gemini's generateContent with the user's key,
// made exactly once. Each call builds its own libcurl handle and throws it away,
// so no cookie, cache, credential or connection outlives the request; the key
// travels only in the "x-goog-api-key" header, redirects are never followed, and
// the answer is cut off at the response limit while it streams in.
//
// Stateless; any thread may call `send`, several at once. It blocks until the
// answer, a failure, a timeout or `stop` ends it.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>

#include "ai/gemini_failure.h"

namespace kelo {

// Where and how a request goes. Google's host by default; KELO_GEMINI_ENDPOINT
// (an https:// base URL) replaces it and KELO_GEMINI_CA_FILE (a PEM file) adds one
// certificate to the trusted ones, for a user's own gateway and for tests.
struct GeminiTransport {
    std::string baseUrl = "https://generativelanguage.googleapis.com";
    std::optional<std::filesystem::path> extraCertificate;
    // No progress in either direction for this long ends the request, as does
    // connecting for longer; the whole exchange may take at most resourceTimeout.
    std::chrono::milliseconds idleTimeout{std::chrono::seconds(45)};
    std::chrono::milliseconds resourceTimeout{std::chrono::seconds(60)};

    // baseUrl without a trailing "/", then the generateContent path of our model.
    std::string url() const;

    // The default transport with the environment's overrides. Throws KeloError when
    // KELO_GEMINI_ENDPOINT is set to anything but an https:// URL.
    static GeminiTransport fromEnvironment();
};

inline constexpr std::string_view kHttpsOnlyText = "KELO_GEMINI_ENDPOINT must be an https:// URL. Nothing was sent.";

namespace GeminiClient {

// The response body of an HTTP 200, or why there is none.
using Result = std::variant<std::string, GeminiFailure>;

Result send(std::string_view body, std::string_view key, const GeminiTransport& transport, std::stop_token stop = {});
// The same over GeminiTransport::fromEnvironment(), which may throw its KeloError.
Result send(std::string_view body, std::string_view key, std::stop_token stop = {});

}  // namespace GeminiClient

}  // namespace kelo
