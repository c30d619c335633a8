// The Studio workspace document ("studio.json"). Only its version is fixed so far;
// everything else in the document is kept exactly as read so no later feature's
// data is lost by a save. Plain value.
#pragma once

#include "model/json_codec.h"

namespace kelo {

struct StudioState {
    int schemaVersion = 1;
    Json workspace = Json::object();  // every other key of the document, as read

    bool valid() const { return schemaVersion == 1; }

    friend bool operator==(const StudioState&, const StudioState&) = default;
};

inline constexpr std::string_view kInvalidStudioMessage = "Unsupported or invalid Studio data. Restore a valid backup.";

inline void to_json(Json& out, const StudioState& s) {
    out = s.workspace;
    out["schemaVersion"] = s.schemaVersion;
}

inline void from_json(const Json& in, StudioState& s) {
    JsonReader r(in);
    s.schemaVersion = r.required<int>("schemaVersion");
    s.workspace = in;
    s.workspace.erase("schemaVersion");
}

}  // namespace kelo
