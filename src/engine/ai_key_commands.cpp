#include "engine/ai_key_commands.h"

#include "ai/ai_keychain.h"
#include "engine/ai_commands.h"
#include "model/kelo_error.h"

namespace kelo::AICommands {

SnapshotPtr saveAIKey(Engine& engine, const std::string& key) {
    AIKeychain::save(key);
    engine.aiRuntime().keyStored = true;
    engine.aiRuntime().sessionKey.reset();
    return engine.snapshot();
}

SnapshotPtr useSessionAIKey(Engine& engine, const std::string& key) {
    AIKeychain::validate(key);
    engine.aiRuntime().sessionKey = key;
    return engine.snapshot();
}

SnapshotPtr forgetAIKey(Engine& engine) {
    engine.aiRuntime().sessionKey.reset();
    if (engine.ai().configuration.enabled) {
        AIState next = engine.ai();
        next.configuration.enabled = false;
        next.configuration.revision = Uuid::random();
        // With damaged AI data nothing can be reserved anyway; the key still goes.
        try {
            persistAI(engine, next);
        } catch (const KeloError&) {
        }
    }
    try {
        AIKeychain::forget();
    } catch (const KeloError&) {
        throw KeloError::unsafe(std::string(kAIKeyForgetIncomplete));
    }
    engine.aiRuntime().keyStored = false;
    return engine.snapshot();
}

SnapshotPtr refreshAIKey(Engine& engine) {
    try {
        engine.aiRuntime().keyStored = AIKeychain::read().has_value();
    } catch (const KeloError& error) {
        engine.aiRuntime().keyStored = false;
        return engine.snapshot({}, {error.message()});
    }
    return engine.snapshot();
}

std::optional<std::string> currentAIKey(Engine& engine) {
    if (engine.aiRuntime().sessionKey) return engine.aiRuntime().sessionKey;
    auto stored = AIKeychain::read();
    engine.aiRuntime().keyStored = stored.has_value();
    return stored;
}

}  // namespace kelo::AICommands
