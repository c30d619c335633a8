// Automatic cleanup of ZIPs in one approved inbox: switching the rule on (which
// baselines what is already there) and off through the settings, and the check
// every scan runs. Free functions over the Engine; engine thread only.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine.h"

namespace kelo {

inline constexpr std::string_view kZipCleanupDescription = "ZIP tải về, tự gọn sau 24 giờ";
inline constexpr std::string_view kZipFolderNotGranted =
    "Chọn và cấp quyền lại cho thư mục Downloads trước khi dọn ZIP.";
inline constexpr std::string_view kZipFolderNoAccess = "Thư mục dọn ZIP chưa được cấp quyền.";
inline constexpr std::string_view kZipFolderUnavailable = "Thư mục dọn ZIP không còn sẵn sàng.";
inline constexpr std::string_view kZipLedgerMissing = "Không có sổ dọn ZIP. Tắt rồi bật lại quy tắc; chưa dọn tệp nào.";
inline constexpr std::string_view kZipCleanupOff = "Đã tắt dọn ZIP tự động.";

namespace ZipCleanupCommands {

// The rule's folder: its approved inbox, reachable without links.
std::filesystem::path zipRoot(const ZipCleanupRule& rule, const std::vector<FolderGrant>& grants,
                              const AccessScope& scope);
// Stable text naming the folder itself (device and inode), so another folder put
// at the same path is noticed.
std::string zipRootIdentity(const std::filesystem::path& root);

// Called by Engine::updateSettings before the new settings are saved. When `next`
// carries a rule `previous` did not, completes it (new id, the grant, now), saves a
// baseline ledger and says so in `messages`; when the rule goes, says that.
// Throws a refusal and then nothing changes.
void applyRuleChange(Engine& engine, const Settings& previous, Settings& next, std::vector<std::string>& messages);

// One cleanup pass. Throws a refusal when no pass could be run; does nothing when
// the rule is off (an empty status).
struct Pass {
    std::string status;  // what was trashed, what waits, then each ZIP left alone
    bool noteworthy = false;  // something was trashed or left alone: worth a message
};
Pass checkAutomaticZipCleanup(Engine& engine, const AccessScope& scope);

// The command line's and the desktop app's commands (every scan runs the check).
SnapshotPtr switchOn(Engine& engine, const std::filesystem::path& watchedFolder);
SnapshotPtr switchOff(Engine& engine);

}  // namespace ZipCleanupCommands

}  // namespace kelo
