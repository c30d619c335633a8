// AIKeychain: the user's Gemini key in the desktop keyring (the Secret Service,
// through libsecret), one item with service "app.kelo.gemini" and account
// "user-api-key". Never prompts: a locked keyring is reported, not unlocked. The
// key is only ever supplied by the user. Stateless; engine thread only (libsecret's
// synchronous calls run their own main loop).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelo {

inline constexpr std::string_view kAIKeyInvalid = "Enter a valid Gemini API key in Settings.";
inline constexpr std::string_view kAIKeyUnavailable =
    "AI key is unavailable in keyring. Unlock this computer and save the key again in Settings.";
inline constexpr std::string_view kAIKeyUpdateFailed = "Could not update the AI key in keyring.";
inline constexpr std::string_view kAIKeySaveFailed =
    "Could not save the AI key in keyring. Check code signing on this computer, or use the key for this session "
    "only.";
inline constexpr std::string_view kAIKeyForgetFailed = "Could not remove the AI key from keyring.";

namespace AIKeychain {

inline constexpr std::string_view kService = "app.kelo.gemini";
inline constexpr std::string_view kAccount = "user-api-key";

// 20 to 256 bytes of letters, digits, "_" and "-"; throws kAIKeyInvalid otherwise.
void validate(std::string_view key);
// The stored key, or nothing when none is stored; throws kAIKeyUnavailable when
// the keyring cannot be asked or is locked.
std::optional<std::string> read();
// Validates, then updates the stored item or adds it to the default collection.
void save(const std::string& key);
// Removes the item; a missing item counts as removed.
void forget();

}  // namespace AIKeychain

}  // namespace kelo
