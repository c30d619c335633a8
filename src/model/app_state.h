// AppState: the root of all persistent engine data ("state.json"). Plain value;
// the engine owns the one live copy.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/folder_grant.h"
#include "model/json_codec.h"
#include "model/learning_data.h"
#include "model/project.h"
#include "model/settings.h"
#include "model/shared_map.h"

namespace kelo {

struct AppState {
    static constexpr int kSchemaVersion = 1;

    int schemaVersion = kSchemaVersion;
    ProjectList projects;
    std::vector<FolderGrant> grants;
    LearningData learning;
    SharedMap<Assignment> assignments;  // keyed by file fingerprint; copies share it
    std::set<std::string> ignored;                  // fingerprints the user left alone
    std::set<std::string> ignoredClusters;          // cluster keys the user ignored
    Settings settings;

    friend bool operator==(const AppState&, const AppState&) = default;
};

void to_json(Json& out, const AppState& value);
void from_json(const Json& in, AppState& value);
// formatDocument(encodeValue(state)), with the learning data written one entry at
// a time; kept in step with to_json by a test that compares the two.
std::string documentText(const AppState& state);

}  // namespace kelo
