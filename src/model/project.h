// Project: one client or job and the folder that receives its files. Plain value.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/chunked_list.h"
#include "model/date.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

enum class ProjectStatus { active, dormant, archived };

inline constexpr std::array<std::pair<ProjectStatus, std::string_view>, 3> rawValues(ProjectStatus) {
    return {{{ProjectStatus::active, "active"},
             {ProjectStatus::dormant, "dormant"},
             {ProjectStatus::archived, "archived"}}};
}

struct Project {
    Uuid id;
    std::string name;
    std::filesystem::path destinationFolder;
    std::vector<std::string> aliases;
    ProjectStatus status = ProjectStatus::active;
    Date createdAt;
    std::optional<Date> lastActivity;
    // Folder artwork: only the folder-icon feature reads these; the engine keeps
    // them exactly as loaded so they survive every save.
    std::optional<std::string> folderColor;
    std::optional<std::string> folderSymbol;
    std::optional<Json> folderArtwork;
    bool folderArtworkFull = false;
    std::optional<Json> folderStickers;
    std::optional<std::string> folderSkin;
    std::optional<Bytes> customSkinData;

    // A new project: fresh id, created now, no activity yet, no artwork.
    static Project make(std::string name, std::filesystem::path destinationFolder,
                        std::vector<std::string> aliases = {}, ProjectStatus status = ProjectStatus::active,
                        Date now = Date::now());

    friend bool operator==(const Project&, const Project&) = default;
};

// The projects of a state: a few hundred values, each edited now and then (its last
// activity, its artwork), so copies of the state share them in chunks of 16.
using ProjectList = ChunkedList<Project, 16>;

// The project with `id`, for writing (its chunk stops being shared); null when none.
Project* editProject(ProjectList& projects, const Uuid& id);

void to_json(Json& out, const Project& project);
void from_json(const Json& in, Project& project);

}  // namespace kelo
