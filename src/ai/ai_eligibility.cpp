#include "ai/ai_eligibility.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "access/path_safety.h"

namespace kelo::AIEligibility {

namespace {

// PSB is deliberately in neither list: its previews are not promised.
constexpr std::array<std::string_view, 2> kThumbnailFormats = {"psd", "ai"};
constexpr std::array<std::string_view, 9> kRasterFormats = {"png", "jpg",  "jpeg", "webp", "gif",
                                                            "tif", "tiff", "heic", "bmp"};

template <std::size_t N>
bool listed(const std::array<std::string_view, N>& list, const std::string& extension) {
    return std::find(list.begin(), list.end(), extension) != list.end();
}

}  // namespace

bool allowed(const FileRecord& file, const AIConfiguration& configuration,
             const std::vector<std::filesystem::path>& approvedRoots) {
    for (const auto& root : approvedRoots) {
        const std::string key = PathSafety::standardized(root).string();
        const auto& folders = configuration.allowedFolders;
        if (std::find(folders.begin(), folders.end(), key) == folders.end()) continue;
        if (PathSafety::contains(root, file.url)) return true;
    }
    return false;
}

bool previewSupported(const FileRecord& file) {
    const std::string extension = file.fileExtension();
    if (listed(kThumbnailFormats, extension)) return file.identity.size <= kThumbnailSizeLimit;
    if (listed(kRasterFormats, extension)) return file.identity.size <= kRasterSizeLimit;
    return false;
}

bool thumbnailFormat(const FileRecord& file) {
    return listed(kThumbnailFormats, file.fileExtension());
}

bool automatic(const FileRecord& file, const AIState& state, Date now) {
    const double age = now.secondsSince(file.identity.modified);
    if (age < kMinimumQuietSeconds || age > kMaximumAutomaticAgeSeconds) return false;
    if (!previewSupported(file)) return false;
    const std::string fingerprint = file.fingerprint();
    return std::none_of(state.records.begin(), state.records.end(),
                        [&](const AIRecord& record) { return record.file.fingerprint() == fingerprint; });
}

}  // namespace kelo::AIEligibility
