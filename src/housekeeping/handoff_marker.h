// PrivateHandoffMarker: the small document ".kelo-handoff.json" inside each handoff
// stage, naming the stage's owner, id and archive, and, once the archive is built
// and publication begins, the archive's identity and when publication started.
// Reading it validates everything a stage must satisfy before Kelo acts on it, so a
// folder or marker that is not exactly ours is refused and left alone. Plain value;
// the read and write functions run on whatever thread owns the stage.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "model/date.h"
#include "model/file_record.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

inline constexpr std::string_view kHandoffMarkerName = ".kelo-handoff.json";
inline constexpr std::string_view kHandoffMarkerOwner = "KeloPrivateHandoff";
inline constexpr std::string_view kHandoffArchiveSuffix = "-handoff.zip";
inline constexpr std::string_view kHandoffStagePrefix = "handoff-";
// A marker is a few hundred bytes; anything much larger is not one of ours.
inline constexpr std::uint64_t kHandoffMarkerSizeLimit = 16 * 1024;

struct PrivateHandoffMarker {
    static constexpr std::int64_t kSchemaVersion = 1;

    std::int64_t schemaVersion = kSchemaVersion;
    std::string owner{kHandoffMarkerOwner};
    Uuid id;
    std::string archiveName;
    Date created;
    std::optional<Date> publicationStarted;
    std::optional<FileIdentity> archiveIdentity;

    friend bool operator==(const PrivateHandoffMarker&, const PrivateHandoffMarker&) = default;
};

void to_json(Json& out, const PrivateHandoffMarker& marker);
void from_json(const Json& in, PrivateHandoffMarker& marker);

// "<project folder>-handoff.zip"
std::string handoffArchiveName(const std::filesystem::path& projectFolder);
// The stage folder's name for a stage id: "handoff-<UUID>".
std::string handoffStageName(const Uuid& id);

// Reads and validates the marker of the stage folder `stage` (a direct child of the
// private storage). Throws KeloError with one of the private-staging messages when
// the folder, the marker or the archive name is not exactly ours.
PrivateHandoffMarker readHandoffMarker(const std::filesystem::path& stage);
// Saves the marker durably (atomic replace, file and folder synced).
void writeHandoffMarker(const std::filesystem::path& stage, const PrivateHandoffMarker& marker);

}  // namespace kelo
