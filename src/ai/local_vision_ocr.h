// LocalVisionOCR: reads the text printed in a design image on this computer
// (Tesseract, nothing leaves the machine) and turns it into two hints for
// renaming: a project whose name or alias occurs in the image, and a sub-job
// label. Stateless; nothing is counted or stored.
//
// Any thread may call every function here. recognizeText reads the file and can
// take a second or more on a large image: callers run it off the engine thread and
// off the interface thread. The other operations are pure.
#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/file_record.h"
#include "model/project.h"
#include "preview/thumbnailer.h"

namespace kelo::LocalVisionOCR {

// Whether the file's extension is one we read: png, jpg, jpeg, heic, webp, tif,
// tiff, bmp, psd, ai.
bool isSupported(const FileRecord& file);

// The text lines of the file, one trimmed non-empty string per line in reading
// order. PSD and AI documents are read through a 1024-pixel thumbnail; the other
// types through a thumbnail of the whole image whose longer side is at most 2048
// pixels, upright by the file's orientation. Never fails: an unsupported type, an
// unreadable file, a failed thumbnail or a failed recognition gives no lines, as
// does `cancel` becoming true.
std::vector<std::string> recognizeText(const FileRecord& file, const std::atomic<bool>* cancel = nullptr);
// A raster image file (not a design document), by its path.
std::vector<std::string> recognizeTextAt(const std::filesystem::path& url, const std::atomic<bool>* cancel = nullptr);
// Pixels already decoded.
std::vector<std::string> recognizeText(const RasterImage& image, const std::atomic<bool>* cancel = nullptr);

// The first project, in the given order and not archived, whose name or one of
// whose aliases occurs in the lines (joined with spaces) as a run of whole
// tokens. Nothing for no lines.
std::optional<Project> matchingProject(const std::vector<std::string>& lines, const ProjectList& projects);

// A sub-job label from the lines, cleaned of the project's words: a line with a
// sub-job keyword ("post", "slide", "banner", ...) first, then a line with a
// number that is not a year, then any line of a plausible length. Never "General"
// or "File".
std::optional<std::string> suggestSubjob(const std::vector<std::string>& lines, const Project& project);

}  // namespace kelo::LocalVisionOCR
