#include "model/app_state_dom.h"

namespace kelo {

// Each reader takes the keys its from_json takes, with the same types, asked for in
// the order the document holds them (sorted).

void from_dom(json_dom::Element in, Association& a) {
    const json_dom::DomReader r(in);
    a.confirmations = r.required<int>("confirmations");
    a.projectID = r.required<Uuid>("projectID");
    a.rejections = r.required<int>("rejections");
    a.token = r.required<std::string>("token");
}

void from_dom(json_dom::Element in, Feedback& f) {
    const json_dom::DomReader r(in);
    f.confirmed = r.optional<Uuid>("confirmed");
    f.filename = r.required<std::string>("filename");
    f.id = r.required<Uuid>("id");
    f.rejected = r.optional<Uuid>("rejected");
    f.timestamp = r.required<Date>("timestamp");
    f.tokens = r.required<std::vector<std::string>>("tokens");
}

void from_dom(json_dom::Element in, LearningData& l) {
    const json_dom::DomReader r(in);
    l.associations = r.required<std::vector<Association>>("associations");
    l.feedback = r.required<std::vector<Feedback>>("feedback");
}

void from_dom(json_dom::Element in, Assignment& a) {
    const json_dom::DomReader r(in);
    a.category = r.required<Category>("category");
    a.fingerprint = r.required<std::string>("fingerprint");
    a.projectID = r.required<Uuid>("projectID");
}

// Straight into the shards: a year of assignments is not built twice.
void from_dom(json_dom::Element in, SharedMap<Assignment>& out) {
    simdjson::dom::object members;
    if (in.get_object().get(members) != simdjson::SUCCESS) throw json_dom::NotPlain{};
    for (simdjson::dom::key_value_pair member : members) {
        // Repeated keys are decodeValue's to settle (the last wins there).
        const std::size_t before = out.size();
        out[std::string(member.key)] = json_dom::domValue<Assignment>(member.value);
        if (out.size() == before) throw json_dom::NotPlain{};
    }
}

void from_dom(json_dom::Element in, AppState& s) {
    const json_dom::DomReader r(in);
    s.assignments = r.required<SharedMap<Assignment>>("assignments");
    s.grants = r.required<std::vector<FolderGrant>>("grants");
    s.ignored = r.required<std::set<std::string>>("ignored");
    s.ignoredClusters = r.required<std::set<std::string>>("ignoredClusters");
    s.learning = r.required<LearningData>("learning");
    s.projects = r.required<std::vector<Project>>("projects");
    s.schemaVersion = r.required<int>("schemaVersion");
    s.settings = r.required<Settings>("settings");
}

AppState decodeAppState(const ParsedDocument& document) {
    return decodeDocument<AppState>(document);
}

}  // namespace kelo
