// AIEligibility: whether a file may be sent for online AI advice at all, whether
// a preview can be made of it, and whether automatic mode may send it. Pure
// functions over values; any thread may call them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "ai/ai_state.h"

namespace kelo::AIEligibility {

// What the two lists and limits promise, as Settings shows it.
inline constexpr std::string_view kPreviewSupportText =
    "AI previews support raster images up to 50 MB and thumbnailer thumbnails for PSD/AI up to 2 GB. For PSB, "
    "oversized or unsupported files, attach an exported PNG/JPG.";

inline constexpr std::uint64_t kThumbnailSizeLimit = 2147483648ULL;  // PSD and AI
inline constexpr std::uint64_t kRasterSizeLimit = 52428800ULL;
inline constexpr double kMinimumQuietSeconds = 30;
inline constexpr double kMaximumAutomaticAgeSeconds = 604800;

// Some approved root, listed verbatim in the allowed folders, contains the file.
bool allowed(const FileRecord& file, const AIConfiguration& configuration,
             const std::vector<std::filesystem::path>& approvedRoots);
// A thumbnail format up to 2 GiB or a raster format up to 50 MiB.
bool previewSupported(const FileRecord& file);
// PSD or AI: previewed through the thumbnailer rather than decoded here.
bool thumbnailFormat(const FileRecord& file);
// Quiet for 30 seconds, at most a week old, previewable, and never sent before.
bool automatic(const FileRecord& file, const AIState& state, Date now);

}  // namespace kelo::AIEligibility
