#include "model/learning_data.h"

namespace kelo {

void to_json(Json& out, const Association& a) {
    JsonWriter w(out);
    w.put("token", a.token);
    w.put("projectID", a.projectID);
    w.put("confirmations", a.confirmations);
    w.put("rejections", a.rejections);
}

void from_json(const Json& in, Association& a) {
    JsonReader r(in);
    a.token = r.required<std::string>("token");
    a.projectID = r.required<Uuid>("projectID");
    a.confirmations = r.required<int>("confirmations");
    a.rejections = r.required<int>("rejections");
}

void to_json(Json& out, const Feedback& f) {
    JsonWriter w(out);
    w.put("id", f.id);
    w.put("timestamp", f.timestamp);
    w.put("filename", f.filename);
    w.put("tokens", f.tokens);
    w.put("confirmed", f.confirmed);
    w.put("rejected", f.rejected);
}

void from_json(const Json& in, Feedback& f) {
    JsonReader r(in);
    f.id = r.required<Uuid>("id");
    f.timestamp = r.required<Date>("timestamp");
    f.filename = r.required<std::string>("filename");
    f.tokens = r.required<std::vector<std::string>>("tokens");
    f.confirmed = r.optional<Uuid>("confirmed");
    f.rejected = r.optional<Uuid>("rejected");
}

void to_json(Json& out, const LearningData& l) {
    JsonWriter w(out);
    w.put("associations", std::vector<Association>(l.associations.begin(), l.associations.end()));
    w.put("feedback", std::vector<Feedback>(l.feedback.begin(), l.feedback.end()));
}

void from_json(const Json& in, LearningData& l) {
    JsonReader r(in);
    l.associations = r.required<std::vector<Association>>("associations");
    l.feedback = r.required<std::vector<Feedback>>("feedback");
}

}  // namespace kelo
