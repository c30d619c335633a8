// The user's Gemini key as the engine handles it: saved in the keyring, given for
// this session only (kept in the engine's memory and nowhere else), or forgotten.
// No command ever puts the key into a snapshot, a message or a file. Free
// functions over the Engine; engine thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/engine.h"

namespace kelo {

inline constexpr std::string_view kAIKeyForgetIncomplete =
    "Session key cleared and online AI disabled. Keyring removal failed; a previously saved key may remain. Check "
    "Passwords and Keys on this computer.";

namespace AICommands {

// Stores the key in the keyring; the session key, if any, is dropped in its favour.
SnapshotPtr saveAIKey(Engine& engine, const std::string& key);
// Keeps the key for this engine's lifetime only; the keyring is not touched.
SnapshotPtr useSessionAIKey(Engine& engine, const std::string& key);
// Clears the session key, switches online AI off and removes the stored key.
SnapshotPtr forgetAIKey(Engine& engine);
// Asks the keyring whether a key is stored; a keyring that cannot answer becomes
// an issue of the snapshot.
SnapshotPtr refreshAIKey(Engine& engine);

// The key a request would use: the session key, else the stored one. Throws the
// keyring's refusal.
std::optional<std::string> currentAIKey(Engine& engine);

}  // namespace AICommands

}  // namespace kelo
