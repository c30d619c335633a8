#include "model/project.h"

namespace kelo {

Project* editProject(ProjectList& projects, const Uuid& id) {
    for (std::size_t i = 0; i < projects.size(); ++i)
        if (projects[i].id == id) return &projects.edit(i);
    return nullptr;
}

Project Project::make(std::string name, std::filesystem::path destinationFolder, std::vector<std::string> aliases,
                      ProjectStatus status, Date now) {
    Project project;
    project.id = Uuid::random();
    project.name = std::move(name);
    project.destinationFolder = std::move(destinationFolder);
    project.aliases = std::move(aliases);
    project.status = status;
    project.createdAt = now;
    return project;
}

void to_json(Json& out, const Project& p) {
    JsonWriter w(out);
    w.put("id", p.id);
    w.put("name", p.name);
    w.putUrl("destinationFolder", p.destinationFolder);
    w.put("aliases", p.aliases);
    w.put("status", p.status);
    w.put("createdAt", p.createdAt);
    w.put("lastActivity", p.lastActivity);
    w.put("folderColor", p.folderColor);
    w.put("folderSymbol", p.folderSymbol);
    w.put("folderArtwork", p.folderArtwork);
    w.put("folderArtworkFull", p.folderArtworkFull);
    w.put("folderStickers", p.folderStickers);
    w.put("folderSkin", p.folderSkin);
    w.putBytes("customSkinData", p.customSkinData);
}

void from_json(const Json& in, Project& p) {
    JsonReader r(in);
    p.id = r.required<Uuid>("id");
    p.name = r.required<std::string>("name");
    p.destinationFolder = r.requiredUrl("destinationFolder");
    p.aliases = r.required<std::vector<std::string>>("aliases");
    p.status = r.required<ProjectStatus>("status");
    p.createdAt = r.required<Date>("createdAt");
    p.lastActivity = r.optional<Date>("lastActivity");
    p.folderColor = r.optional<std::string>("folderColor");
    p.folderSymbol = r.optional<std::string>("folderSymbol");
    p.folderArtwork = r.optional<Json>("folderArtwork");
    p.folderArtworkFull = r.optional<bool>("folderArtworkFull").value_or(false);
    p.folderStickers = r.optional<Json>("folderStickers");
    if (p.folderStickers && !p.folderStickers->is_array())
        throw DecodingError("folderStickers", "expected an array");
    p.folderSkin = r.optional<std::string>("folderSkin");
    p.customSkinData = r.optionalBytes("customSkinData");
}

}  // namespace kelo
