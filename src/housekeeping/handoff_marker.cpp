#include "housekeeping/handoff_marker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "store/local_store.h"
#include "store/posix_file.h"

namespace kelo {

namespace fs = std::filesystem;

void to_json(Json& out, const PrivateHandoffMarker& m) {
    JsonWriter w(out);
    w.put("schemaVersion", m.schemaVersion);
    w.put("owner", m.owner);
    w.put("id", m.id);
    w.put("archiveName", m.archiveName);
    w.put("created", m.created);
    w.put("publicationStarted", m.publicationStarted);
    w.put("archiveIdentity", m.archiveIdentity);
}

void from_json(const Json& in, PrivateHandoffMarker& m) {
    JsonReader r(in);
    m.schemaVersion = r.required<std::int64_t>("schemaVersion");
    m.owner = r.required<std::string>("owner");
    m.id = r.required<Uuid>("id");
    m.archiveName = r.required<std::string>("archiveName");
    m.created = r.required<Date>("created");
    m.publicationStarted = r.optional<Date>("publicationStarted");
    m.archiveIdentity = r.optional<FileIdentity>("archiveIdentity");
}

std::string handoffArchiveName(const fs::path& projectFolder) {
    return PathSafety::standardized(projectFolder).filename().native() + std::string(kHandoffArchiveSuffix);
}

std::string handoffStageName(const Uuid& id) {
    return std::string(kHandoffStagePrefix) + id.text();
}

namespace {

[[noreturn]] void refuse(std::string_view message) {
    throw KeloError::unsafe(std::string(message));
}

// The marker's bytes, read through one descriptor that never follows a link, with
// the size checked before and after reading.
std::string readMarkerBytes(const fs::path& stage) {
    const fs::path path = stage / kHandoffMarkerName;
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) refuse("Invalid private marker.");
    UniqueFd owned(fd);
    struct stat before {};
    if (::fstat(fd, &before) != 0 || !S_ISREG(before.st_mode)) refuse("Invalid private marker.");
    if (static_cast<std::uint64_t>(before.st_size) > kHandoffMarkerSizeLimit)
        refuse("Private marker exceeds its size limit.");
    std::string bytes(kHandoffMarkerSizeLimit + 1, '\0');
    std::size_t total = 0;
    for (;;) {
        const ssize_t got = ::read(fd, bytes.data() + total, bytes.size() - total);
        if (got < 0) refuse("Invalid private marker.");
        if (got == 0) break;
        total += static_cast<std::size_t>(got);
        if (total > kHandoffMarkerSizeLimit) refuse("Private marker changed or exceeds its size limit.");
    }
    struct stat after {};
    if (::fstat(fd, &after) != 0 || after.st_size != before.st_size || after.st_mtim.tv_sec != before.st_mtim.tv_sec ||
        after.st_mtim.tv_nsec != before.st_mtim.tv_nsec || total != static_cast<std::size_t>(before.st_size))
        refuse("Private marker changed or exceeds its size limit.");
    bytes.resize(total);
    return bytes;
}

}  // namespace

PrivateHandoffMarker readHandoffMarker(const fs::path& stage) {
    struct stat info {};
    const std::string folderName = stage.filename().native();
    const auto stageID = folderName.starts_with(kHandoffStagePrefix)
                             ? Uuid::parse(std::string_view(folderName).substr(kHandoffStagePrefix.size()))
                             : std::nullopt;
    if (!stageID || ::lstat(stage.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        refuse("Not a private staging directory.");

    PrivateHandoffMarker marker;
    try {
        marker = decodeValue<PrivateHandoffMarker>(parseDocument(readMarkerBytes(stage)));
    } catch (const DecodingError&) {
        refuse("Invalid private marker.");
    }
    if (marker.schemaVersion != PrivateHandoffMarker::kSchemaVersion || marker.owner != kHandoffMarkerOwner)
        refuse("Invalid private marker.");
    if (marker.id != *stageID) refuse("Private staging marker mismatch.");
    const std::string& name = marker.archiveName;
    if (!PathSafety::validName(name) || !name.ends_with(kHandoffArchiveSuffix) ||
        name.size() == kHandoffArchiveSuffix.size() || name == kHandoffMarkerName)
        refuse("Invalid private archive name.");
    if (marker.publicationStarted && !marker.archiveIdentity) refuse("Invalid private archive marker.");
    return marker;
}

void writeHandoffMarker(const fs::path& stage, const PrivateHandoffMarker& marker) {
    store_detail::writeDurably(stage / kHandoffMarkerName, documentText(marker));
}

}  // namespace kelo
