// AIRuntime: what the engine keeps about online AI beside the stored AIState: the
// local calendar the daily counter is counted in, the key given for this session
// only, and whether a key was last seen in the keyring. Memory only, never written
// anywhere. Owned by the Engine; engine thread only.
#pragma once

#include <optional>
#include <string>

#include "ai/day_calendar.h"
#include "ai/gemini_client.h"

namespace kelo {

struct AIRuntime {
    DayCalendar calendar;                   // the system's time zone unless a test sets one
    std::optional<std::string> sessionKey;  // forgotten when the engine stops
    bool keyStored = false;                 // as the keyring last answered
    // Where requests go; unset means GeminiTransport::fromEnvironment(). Tests
    // point it at a loopback server.
    std::optional<GeminiTransport> transport;
};

}  // namespace kelo
