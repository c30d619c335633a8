// FolderIconLedger: what Kelo set on each project folder to show its icon, kept in
// "folder-icons.json" in the data directory, so resetting removes exactly that and
// nothing else. An entry is saved before the folder is touched (naming what we are
// about to write) and again after (with the identity of the file we created), so a
// crash in between still leaves a record a reset can follow. Plain values; the
// engine thread loads and saves them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "model/json_codec.h"

namespace kelo {

struct AppliedFolderIcon {
    std::filesystem::path folder;
    std::filesystem::path icon;
    // The metadata::custom-icon value Kelo set, when setting it succeeded or may have.
    std::optional<std::string> customIcon;
    // The ".directory" Kelo created (its exact content, and its identity once known).
    std::optional<std::string> directoryContent;
    std::optional<std::uint64_t> directoryDevice;
    std::optional<std::uint64_t> directoryInode;

    friend bool operator==(const AppliedFolderIcon&, const AppliedFolderIcon&) = default;
};

struct FolderIconLedger {
    std::map<std::string, AppliedFolderIcon> applied;  // by project id text

    friend bool operator==(const FolderIconLedger&, const FolderIconLedger&) = default;
};

inline constexpr const char* kFolderIconLedgerName = "folder-icons.json";
inline constexpr const char* kFolderIconsFolderName = "Folder icons";

void to_json(Json& out, const AppliedFolderIcon& entry);
void from_json(const Json& in, AppliedFolderIcon& entry);
void to_json(Json& out, const FolderIconLedger& ledger);
void from_json(const Json& in, FolderIconLedger& ledger);

}  // namespace kelo
