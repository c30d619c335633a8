// RenameSuggestions: spots file names that say nothing ("final_final2.ai", "IMG.png")
// and proposes a structured name from the project's first alias. Stateless; any
// thread may call it.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "model/file_record.h"
#include "model/project.h"

namespace kelo {

// The filename token rules (all tokens in order; the meaningful ones as a set). They
// belong to the classifier; until the two are joined they are handed in.
struct TokenRules {
    std::function<std::vector<std::string>(std::string_view)> all;
    std::function<std::set<std::string>(std::string_view)> meaningful;
};

namespace RenameSuggestions {

// True when the name's stem has no meaningful token, or more than one of its tokens
// begins with "final".
bool questionable(const std::string& filename, const TokenRules& tokens);

// For a questionable name in a project with an alias: the first alias's tokens
// joined with "_" in upper case, then "-" + the inferred category + "-01", then the
// file's own extension. Nothing in every other case.
std::optional<std::string> suggest(const FileRecord& record, const Project& project, const TokenRules& tokens);

}  // namespace RenameSuggestions
}  // namespace kelo
