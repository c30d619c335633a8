#include "studio/studio_workspace.h"

#include "model/kelo_error.h"

namespace kelo {

namespace {

[[noreturn]] void invalid() {
    throw KeloError::unsafe(std::string(kInvalidStudioMessage));
}

const Json* field(const Json& object, const char* key) {
    const auto at = object.find(key);
    return at == object.end() ? nullptr : &*at;
}

std::string text(const Json& value) {
    if (!value.is_string()) invalid();
    return value.get<std::string>();
}

std::uint64_t number(const Json& value) {
    if (!value.is_number_unsigned() && !(value.is_number_integer() && value.get<std::int64_t>() >= 0)) invalid();
    return value.get<std::uint64_t>();
}

StudioFilter readFilter(const Json& in) {
    if (!in.is_object()) invalid();
    StudioFilter f;
    if (const auto* v = field(in, "name")) f.name = text(*v);
    if (f.name.empty()) invalid();
    if (const auto* v = field(in, "kind")) {
        f.kind = fileKindNamed(text(*v));
        if (!f.kind) invalid();
    }
    if (const auto* v = field(in, "folder")) f.folder = text(*v);
    if (const auto* v = field(in, "days")) {
        const auto d = number(*v);
        if (d > static_cast<std::uint64_t>(kMaxFilterDays)) invalid();
        f.days = static_cast<int>(d);
    }
    if (const auto* v = field(in, "text")) f.text = text(*v);
    return f;
}

}  // namespace

void to_json(Json& out, const StudioFilter& f) {
    out = Json::object();
    out["name"] = f.name;
    if (f.kind) out["kind"] = std::string(fileKindName(*f.kind));
    if (f.folder) out["folder"] = *f.folder;
    if (f.days) out["days"] = *f.days;
    if (!f.text.empty()) out["text"] = f.text;
}

StudioWorkspace StudioWorkspace::from(const StudioState& state) {
    if (!state.valid()) invalid();
    StudioWorkspace ws;
    const Json& doc = state.workspace;
    if (!doc.is_object()) invalid();
    if (const auto* last = field(doc, "lastOpenedProject")) ws.lastOpenedProject = text(*last);
    const auto* projects = field(doc, "projects");
    if (!projects) return ws;
    if (!projects->is_object()) invalid();
    for (const auto& [id, space] : projects->items()) {
        if (!space.is_object()) invalid();
        StudioProjectSpace out;
        if (const auto* refs = field(space, "references")) {
            if (!refs->is_array()) invalid();
            for (const auto& r : *refs) {
                if (!r.is_object()) invalid();
                const auto* path = field(r, "path");
                if (!path) invalid();
                StudioReference ref{text(*path), 0, 0};
                if (!ref.path.is_absolute()) invalid();
                if (const auto* d = field(r, "device")) ref.device = number(*d);
                if (const auto* i = field(r, "inode")) ref.inode = number(*i);
                out.references.push_back(std::move(ref));
            }
        }
        if (const auto* filters = field(space, "filters")) {
            if (!filters->is_array()) invalid();
            for (const auto& f : *filters) {
                StudioFilter filter = readFilter(f);
                for (const auto& seen : out.filters)
                    if (seen.name == filter.name) invalid();
                out.filters.push_back(std::move(filter));
            }
        }
        ws.projects.emplace(id, std::move(out));
    }
    return ws;
}

StudioState StudioWorkspace::applied(StudioState state) const {
    Json projectsOut = Json::object();
    for (const auto& [id, space] : projects) {
        Json refs = Json::array();
        for (const auto& r : space.references)
            refs.push_back(Json{{"path", r.path.string()}, {"device", r.device}, {"inode", r.inode}});
        Json filters = Json::array();
        for (const auto& f : space.filters) filters.push_back(Json(f));
        projectsOut[id] = Json{{"references", std::move(refs)}, {"filters", std::move(filters)}};
    }
    state.workspace["projects"] = std::move(projectsOut);
    if (lastOpenedProject)
        state.workspace["lastOpenedProject"] = *lastOpenedProject;
    else
        state.workspace.erase("lastOpenedProject");
    return state;
}

}  // namespace kelo
