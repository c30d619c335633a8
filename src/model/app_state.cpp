#include "model/app_state.h"

namespace kelo {

void to_json(Json& out, const AppState& s) {
    JsonWriter w(out);
    w.put("schemaVersion", s.schemaVersion);
    w.put("projects", std::vector<Project>(s.projects.begin(), s.projects.end()));
    w.put("grants", s.grants);
    w.put("learning", s.learning);
    w.put("assignments", s.assignments.toMap());
    w.put("ignored", s.ignored);
    w.put("ignoredClusters", s.ignoredClusters);
    w.put("settings", s.settings);
}

namespace {

// The learning data's entries laid out as formatDocument lays out encodeValue(entry),
// member by member in sorted key order, without a tree per entry; kept in step with
// their to_json by the test that compares the bytes of the whole state.
void appendAssociation(std::string& out, const Association& a, int level) {
    using namespace json_layout;
    appendKey(out, "confirmations", level, true);
    appendValue(out, Json(a.confirmations), level + 1);
    appendKey(out, "projectID", level, false);
    appendValue(out, encodeValue(a.projectID), level + 1);
    appendKey(out, "rejections", level, false);
    appendValue(out, Json(a.rejections), level + 1);
    appendKey(out, "token", level, false);
    appendText(out, a.token);
    closeObject(out, level);
}

void appendFeedback(std::string& out, const Feedback& f, int level) {
    using namespace json_layout;
    bool first = true;
    if (f.confirmed) {
        appendKey(out, "confirmed", level, true);
        appendValue(out, encodeValue(*f.confirmed), level + 1);
        first = false;
    }
    appendKey(out, "filename", level, first);
    appendText(out, f.filename);
    appendKey(out, "id", level, false);
    appendValue(out, encodeValue(f.id), level + 1);
    if (f.rejected) {
        appendKey(out, "rejected", level, false);
        appendValue(out, encodeValue(*f.rejected), level + 1);
    }
    appendKey(out, "timestamp", level, false);
    appendValue(out, encodeValue(f.timestamp), level + 1);
    appendKey(out, "tokens", level, false);
    appendValue(out, encodeValue(f.tokens), level + 1);
    closeObject(out, level);
}

}  // namespace

std::string documentText(const AppState& s) {
    // The members of to_json above, in sorted key order; the learning data's lists are
    // written one entry at a time.
    std::string out;
    json_layout::appendKey(out, "assignments", 0, true);
    json_layout::appendValue(out, encodeValue(s.assignments.toMap()), 1);
    json_layout::appendKey(out, "grants", 0, false);
    json_layout::appendValue(out, encodeValue(s.grants), 1);
    json_layout::appendKey(out, "ignored", 0, false);
    json_layout::appendValue(out, encodeValue(s.ignored), 1);
    json_layout::appendKey(out, "ignoredClusters", 0, false);
    json_layout::appendValue(out, encodeValue(s.ignoredClusters), 1);
    json_layout::appendKey(out, "learning", 0, false);
    json_layout::appendKey(out, "associations", 1, true);
    json_layout::appendArray(out, s.learning.associations, 2, appendAssociation);
    json_layout::appendKey(out, "feedback", 1, false);
    json_layout::appendArray(out, s.learning.feedback, 2, appendFeedback);
    json_layout::closeObject(out, 1);
    json_layout::appendKey(out, "projects", 0, false);
    json_layout::appendArray(out, s.projects, 1, [](std::string& into, const Project& project, int level) {
        json_layout::appendValue(into, encodeValue(project), level);
    });
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
