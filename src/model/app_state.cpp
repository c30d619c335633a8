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
