// AIPreview: the small JPEG that is sent to Gemini in place of a design file, and
// the checks on an exported PNG/JPG the user attaches instead. Reads files only,
// through src/preview's libvips thumbnails; every refusal throws KeloError with
// one of the texts below. Stateless; any thread may call it.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

#include "ai/ai_eligibility.h"
#include "ai/ai_thumbnail_job.h"
#include "model/file_record.h"
#include "preview/thumbnailer.h"

namespace kelo::AIPreview {

inline constexpr int kThumbnailEdge = 1024;  // pixels, longer side
inline constexpr int kMaximumEdge = 2048;    // pixels, either side, before encoding
inline constexpr int kJpegQuality = 70;      // libvips Q for a quality of 0.7
inline constexpr std::size_t kJpegLimit = 1'048'576;
inline constexpr std::uint64_t kAttachmentLimit = 20'971'520;  // an attachment must be smaller
inline constexpr std::chrono::seconds kDesignTimeout{25};

// Refused for a file outside the formats and sizes that eligibility lists.
inline constexpr std::string_view kUnsupportedText = AIEligibility::kPreviewSupportText;
inline constexpr std::string_view kTimedOutText = "Preview timed out. Attach an exported PNG/JPG instead.";
inline constexpr std::string_view kNoDesignPreviewText =
    "No design preview available. Export a PNG/JPG and attach it instead.";
inline constexpr std::string_view kNoImagePreviewText = "Cannot create an image preview.";
inline constexpr std::string_view kTooLargeText = "AI preview is too large or unavailable.";
inline constexpr std::string_view kNoPixelsText = "Cannot prepare AI preview pixels.";
inline constexpr std::string_view kOverLimitText = "AI preview exceeds 1 MB. Attach a smaller export.";
inline constexpr std::string_view kAttachmentText = "Choose a PNG/JPG under 20 MB.";
inline constexpr std::string_view kAttachmentChangedText = "Export changed during preview generation.";
inline constexpr std::string_view kPreviewStoppedText = "Preview cancelled. Nothing was sent.";

// How design thumbnails are made, how long they may take and what stops the wait
// early (closing the dialog, quitting); tests shorten the wait and stand in a
// thumbnailer that never finishes.
struct DesignThumbnails {
    std::chrono::milliseconds timeout = kDesignTimeout;
    AIThumbnailJob::Thumbnailer thumbnailer = makeThumbnail;
    std::stop_token stop;
};

// The JPEG for `file`: a 1024-px thumbnail of a PSD or AI file, or of a raster
// image with its orientation applied, encoded by `jpeg`.
std::string make(const FileRecord& file, const DesignThumbnails& design = {});

// A raster image reduced to at most 1024 px on its longer side, upright.
RasterImage raster(const std::filesystem::path& file);

// `image` flattened onto white and encoded at quality 0.7, within the size limits.
std::string jpeg(const RasterImage& image);

// The bytes of an exported PNG/JPG the user chose: smaller than 20 MB, reached
// without a symbolic link, and unchanged from before to after the read.
std::string readAttachment(const std::filesystem::path& file);

// The JPEG made from attachment bytes, exactly as from a raster design file.
std::string fromAttachment(const std::string& bytes);

}  // namespace kelo::AIPreview
