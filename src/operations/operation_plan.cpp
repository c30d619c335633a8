#include "operations/operation_plan.h"

namespace kelo {

void to_json(Json& out, const PlannedOperation& o) {
    JsonWriter w(out);
    w.put("id", o.id);
    w.put("batchID", o.batchID);
    w.putUrl("source", o.source);
    w.putUrl("destination", o.destination);
    w.put("expected", o.expected);
    w.put("type", o.type);
    w.put("reverses", o.reverses);
}

void from_json(const Json& in, PlannedOperation& o) {
    JsonReader r(in);
    o.id = r.required<Uuid>("id");
    o.batchID = r.required<Uuid>("batchID");
    o.source = r.requiredUrl("source");
    o.destination = r.requiredUrl("destination");
    o.expected = r.optional<FileIdentity>("expected");
    o.type = r.required<OperationType>("type");
    o.reverses = r.optional<Uuid>("reverses");
}

void to_json(Json& out, const OperationPlan& p) {
    JsonWriter w(out);
    w.put("id", p.id);
    w.put("createdAt", p.createdAt);
    w.put("operations", p.operations);
}

void from_json(const Json& in, OperationPlan& p) {
    JsonReader r(in);
    p.id = r.required<Uuid>("id");
    p.createdAt = r.required<Date>("createdAt");
    p.operations = r.required<std::vector<PlannedOperation>>("operations");
}

}  // namespace kelo
