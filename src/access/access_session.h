// AccessSession: regains access to the approved folders for one engine command.
// It turns the stored grants into the command's AccessScope (usable folders only,
// in grant order), one error line per folder that is not usable, and renewed
// grants for folders that were replaced at the same path. Never fails as a whole.
//
// On Linux access needs no starting or stopping; `started` still records what a
// platform with scoped access would have to give back, and close() releases it.
// Owned by the engine command that opened it; not shared between threads.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "access/access_scope.h"
#include "model/folder_grant.h"

namespace kelo {

class AccessSession {
public:
    explicit AccessSession(const std::vector<FolderGrant>& grants);
    ~AccessSession() { close(); }
    AccessSession(const AccessSession&) = delete;
    AccessSession& operator=(const AccessSession&) = delete;

    // Gives back the access started by this session. Safe to call twice.
    void close() { started_.clear(); }

    const AccessScope& scope() const { return scope_; }
    // Copies of the grants whose bookmark was renewed, carrying the new bookmark;
    // the engine stores them in place of the old ones.
    const std::vector<FolderGrant>& refreshed() const { return refreshed_; }
    const std::vector<std::string>& errors() const { return errors_; }
    const std::vector<std::filesystem::path>& started() const { return started_; }

private:
    void open(const FolderGrant& grant);

    std::vector<std::filesystem::path> started_;
    AccessScope scope_;
    std::vector<FolderGrant> refreshed_;
    std::vector<std::string> errors_;
};

}  // namespace kelo
