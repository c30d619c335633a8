// StudioWorkspace: the typed reading of the Studio document ("studio.json"): per
// project (by id) the pinned references and saved filters, and the last-opened
// project. Keys it does not know are kept in the StudioState untouched. A plain
// value; the engine owns the one in force and changes it only through its store.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/studio_state.h"
#include "studio/studio_filter.h"

namespace kelo {

// A file pinned to a project's references board, kept by path and by identity so
// the board can say when it is gone or replaced.
struct StudioReference {
    std::filesystem::path path;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const StudioReference&, const StudioReference&) = default;
};

struct StudioProjectSpace {
    std::vector<StudioReference> references;
    std::vector<StudioFilter> filters;  // names unique within the project

    friend bool operator==(const StudioProjectSpace&, const StudioProjectSpace&) = default;
};

struct StudioWorkspace {
    std::map<std::string, StudioProjectSpace> projects;  // by project id text
    std::optional<std::string> lastOpenedProject;        // project id text

    // Throws KeloError with kInvalidStudioMessage for anything it cannot trust.
    static StudioWorkspace from(const StudioState& state);
    // `state` with this workspace written over the keys it owns.
    StudioState applied(StudioState state) const;

    friend bool operator==(const StudioWorkspace&, const StudioWorkspace&) = default;
};

// A filter as the document keeps it: "name", and "kind", "folder", "days", "text"
// when set.
void to_json(Json& out, const StudioFilter& filter);

}  // namespace kelo
