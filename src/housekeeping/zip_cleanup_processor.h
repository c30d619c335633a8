// ZipCleanupProcessor: one cleanup pass over the rule's folder: brings the ledger
// up to date, saves it, then sends every ZIP that is due to the Trash, each only
// after its identity was read again and still matches the scan. Holds nothing;
// the engine calls it on its own thread with the saving and trashing it provides.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "housekeeping/zip_cleanup_ledger.h"

namespace kelo {

inline constexpr std::string_view kZipLedgerMismatch = "Không khớp sổ dọn ZIP. Tắt rồi bật lại quy tắc.";
inline constexpr std::string_view kZipChanged = "ZIP đã thay đổi; giữ nguyên tệp.";

namespace ZipCleanupProcessor {

// Returns one line per ZIP that could not be cleaned ("<name>: <reason>"); such a
// ZIP stays where it is and the pass goes on. Throws kZipLedgerMismatch when the
// ledger belongs to another rule (nothing is touched), and the first save's
// failure (nothing is trashed).
std::vector<std::string> run(const std::vector<FileRecord>& files, const std::filesystem::path& root,
                             const std::string& rootID, const ZipCleanupRule& rule, Date now, ZipCleanupLedger& ledger,
                             const std::function<void(const ZipCleanupLedger&)>& persist,
                             const std::function<void(const FileRecord&)>& trash);

}  // namespace ZipCleanupProcessor

}  // namespace kelo
