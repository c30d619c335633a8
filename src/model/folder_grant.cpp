#include "model/folder_grant.h"

namespace kelo {

void to_json(Json& out, const FolderGrant& g) {
    JsonWriter w(out);
    w.put("id", g.id);
    w.putBytes("bookmark", g.bookmark);
    w.put("displayPath", g.displayPath);
    w.put("role", g.role);
}

void from_json(const Json& in, FolderGrant& g) {
    JsonReader r(in);
    g.id = r.required<Uuid>("id");
    g.bookmark = r.requiredBytes("bookmark");
    g.displayPath = r.required<std::string>("displayPath");
    g.role = r.required<FolderGrant::Role>("role");
}

void to_json(Json& out, const Assignment& a) {
    JsonWriter w(out);
    w.put("fingerprint", a.fingerprint);
    w.put("projectID", a.projectID);
    w.put("category", a.category);
}

void from_json(const Json& in, Assignment& a) {
    JsonReader r(in);
    a.fingerprint = r.required<std::string>("fingerprint");
    a.projectID = r.required<Uuid>("projectID");
    a.category = r.required<Category>("category");
}

}  // namespace kelo
