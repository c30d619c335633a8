#include "ai/ai_preview.h"

#include <fcntl.h>

#include <algorithm>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"
#include "store/posix_file.h"

namespace kelo::AIPreview {

namespace {

[[noreturn]] void fail(std::string_view text) {
    throw KeloError::unsafe(std::string(text));
}

RasterImage designThumbnail(const FileRecord& file, const DesignThumbnails& design) {
    auto result = AIThumbnailJob::run(file.url, kThumbnailEdge, design.timeout, design.thumbnailer, design.stop);
    switch (result.outcome) {
        case AIThumbnailJob::Outcome::arrived: return std::move(*result.image);
        case AIThumbnailJob::Outcome::timedOut: fail(kTimedOutText);
        case AIThumbnailJob::Outcome::stopped: fail(kPreviewStoppedText);
        case AIThumbnailJob::Outcome::failed: break;
    }
    fail(kNoDesignPreviewText);
}

bool isAttachmentType(const std::filesystem::path& file) {
    std::string extension = pathExtension(file.filename().string());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == "png" || extension == "jpg" || extension == "jpeg";
}

}  // namespace

std::string make(const FileRecord& file, const DesignThumbnails& design) {
    if (!AIEligibility::previewSupported(file)) fail(kUnsupportedText);
    if (AIEligibility::thumbnailFormat(file)) return jpeg(designThumbnail(file, design));
    return jpeg(raster(file.url));
}

RasterImage raster(const std::filesystem::path& file) {
    auto image = makeThumbnail(file, kThumbnailEdge);
    if (!image) fail(kNoImagePreviewText);
    return std::move(*image);
}

std::string jpeg(const RasterImage& image) {
    if (image.width <= 0 || image.height <= 0 || image.width > kMaximumEdge || image.height > kMaximumEdge)
        fail(kTooLargeText);
    // encodeJpeg flattens any transparency onto opaque white before encoding.
    auto bytes = encodeJpeg(image, kJpegQuality);
    if (!bytes) fail(kNoPixelsText);
    if (bytes->size() > kJpegLimit) fail(kOverLimitText);
    return std::move(*bytes);
}

std::string readAttachment(const std::filesystem::path& file) {
    if (!isAttachmentType(file)) fail(kAttachmentText);
    PathSafety::noSymbolicComponents(file);
    const FileIdentity before = Metadata::identity(file);
    if (before.size >= kAttachmentLimit) fail(kAttachmentText);
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) fail(kAttachmentChangedText);
    std::string bytes = readAll(fd.get(), file);
    if (Metadata::identity(file) != before || bytes.size() != before.size) fail(kAttachmentChangedText);
    return bytes;
}

std::string fromAttachment(const std::string& bytes) {
    auto image = decodeImage(bytes, kThumbnailEdge);
    if (!image) fail(kNoImagePreviewText);
    return jpeg(*image);
}

}  // namespace kelo::AIPreview
