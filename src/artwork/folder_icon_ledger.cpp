#include "artwork/folder_icon_ledger.h"

namespace kelo {

void to_json(Json& out, const AppliedFolderIcon& e) {
    JsonWriter w(out);
    w.putUrl("folder", e.folder);
    w.putUrl("icon", e.icon);
    w.put("customIcon", e.customIcon);
    w.put("directoryContent", e.directoryContent);
    w.put("directoryDevice", e.directoryDevice);
    w.put("directoryInode", e.directoryInode);
}

void from_json(const Json& in, AppliedFolderIcon& e) {
    JsonReader r(in);
    e.folder = r.requiredUrl("folder");
    e.icon = r.requiredUrl("icon");
    e.customIcon = r.optional<std::string>("customIcon");
    e.directoryContent = r.optional<std::string>("directoryContent");
    e.directoryDevice = r.optional<std::uint64_t>("directoryDevice");
    e.directoryInode = r.optional<std::uint64_t>("directoryInode");
}

void to_json(Json& out, const FolderIconLedger& ledger) {
    JsonWriter w(out);
    w.put("schemaVersion", 1);
    w.put("applied", ledger.applied);
}

void from_json(const Json& in, FolderIconLedger& ledger) {
    JsonReader r(in);
    r.required<std::int64_t>("schemaVersion");
    ledger.applied = r.required<std::map<std::string, AppliedFolderIcon>>("applied");
}

}  // namespace kelo
