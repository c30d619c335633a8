#include "model/app_state.h"

namespace kelo {

void to_json(Json& out, const AppState& s) {
    JsonWriter w(out);
    w.put("schemaVersion", s.schemaVersion);
    w.put("projects", s.projects);
    w.put("grants", s.grants);
    w.put("learning", s.learning);
    w.put("assignments", s.assignments);
    w.put("ignored", s.ignored);
    w.put("ignoredClusters", s.ignoredClusters);
    w.put("settings", s.settings);
}

std::string documentText(const AppState& s) {
    // The members of to_json above, in sorted key order; the learning data's lists are
    // written one entry at a time.
    std::string out;
    json_layout::appendKey(out, "assignments", 0, true);
    json_layout::appendValue(out, encodeValue(s.assignments), 1);
    json_layout::appendKey(out, "grants", 0, false);
    json_layout::appendValue(out, encodeValue(s.grants), 1);
    json_layout::appendKey(out, "ignored", 0, false);
    json_layout::appendValue(out, encodeValue(s.ignored), 1);
    json_layout::appendKey(out, "ignoredClusters", 0, false);
    json_layout::appendValue(out, encodeValue(s.ignoredClusters), 1);
    json_layout::appendKey(out, "learning", 0, false);
    json_layout::appendKey(out, "associations", 1, true);
    json_layout::appendArray(out, s.learning.associations, 2);
    json_layout::appendKey(out, "feedback", 1, false);
    json_layout::appendArray(out, s.learning.feedback, 2);
    json_layout::closeObject(out, 1);
    json_layout::appendKey(out, "projects", 0, false);
    json_layout::appendValue(out, encodeValue(s.projects), 1);
    json_layout::appendKey(out, "schemaVersion", 0, false);
    json_layout::appendValue(out, encodeValue(s.schemaVersion), 1);
    json_layout::appendKey(out, "settings", 0, false);
    json_layout::appendValue(out, encodeValue(s.settings), 1);
    json_layout::closeObject(out, 0);
    out += '\n';
    return out;
}

void from_json(const Json& in, AppState& s) {
    JsonReader r(in);
    s.schemaVersion = r.required<int>("schemaVersion");
    s.projects = r.required<std::vector<Project>>("projects");
    s.grants = r.required<std::vector<FolderGrant>>("grants");
    s.learning = r.required<LearningData>("learning");
    s.assignments = r.required<std::map<std::string, Assignment>>("assignments");
    s.ignored = r.required<std::set<std::string>>("ignored");
    s.ignoredClusters = r.required<std::set<std::string>>("ignoredClusters");
    s.settings = r.required<Settings>("settings");
}

}  // namespace kelo
