// FolderGrant: one folder the user approved, in one role, and Assignment: a file
// the user placed in a project by hand. Plain values.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "model/category.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

struct FolderGrant {
    enum class Role { watch, projectHome };

    Uuid id;
    // The persistent reference from which access is regained at each start; on
    // Linux the folder's path and its device and inode at grant time (see access/).
    Bytes bookmark;
    std::string displayPath;
    Role role = Role::watch;

    friend bool operator==(const FolderGrant&, const FolderGrant&) = default;
};

inline constexpr std::array<std::pair<FolderGrant::Role, std::string_view>, 2> rawValues(FolderGrant::Role) {
    return {{{FolderGrant::Role::watch, "watch"}, {FolderGrant::Role::projectHome, "projectHome"}}};
}

struct Assignment {
    std::string fingerprint;
    Uuid projectID;
    Category category;

    friend bool operator==(const Assignment&, const Assignment&) = default;
};

void to_json(Json& out, const FolderGrant& value);
void from_json(const Json& in, FolderGrant& value);
void to_json(Json& out, const Assignment& value);
void from_json(const Json& in, Assignment& value);

}  // namespace kelo
