#include "studio/studio_filter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "classify/tokens.h"
#include "studio/studio_insights.h"  // StudioFile

namespace kelo {

namespace {

constexpr std::array<std::pair<FileKind, std::string_view>, 5> kNames{{{FileKind::designSource, "design-source"},
                                                                       {FileKind::image, "image"},
                                                                       {FileKind::document, "document"},
                                                                       {FileKind::archive, "archive"},
                                                                       {FileKind::other, "other"}}};

constexpr std::string_view kDesign[] = {"psd",     "psb",   "ai",  "indd", "idml", "sketch", "fig",   "xd",  "afdesign",
                                        "afphoto", "afpub", "cdr", "eps",  "aep",  "prproj", "blend", "kra", "xcf"};
constexpr std::string_view kImage[] = {"png",  "jpg",  "jpeg", "gif",  "webp", "tif", "tiff", "bmp",
                                       "heic", "heif", "svg",  "avif", "raw",  "cr2", "nef",  "dng"};
constexpr std::string_view kDocument[] = {"pdf", "doc", "docx", "odt",  "rtf", "txt", "md",    "xls",    "xlsx",
                                          "ods", "csv", "ppt",  "pptx", "odp", "key", "pages", "numbers"};
constexpr std::string_view kArchive[] = {"zip", "rar", "7z", "tar", "gz", "tgz", "bz2", "xz", "zst"};

template <std::size_t N>
bool among(const std::string_view (&list)[N], std::string_view ext) {
    return std::find(std::begin(list), std::end(list), ext) != std::end(list);
}

}  // namespace

std::string_view fileKindName(FileKind kind) {
    for (const auto& [k, name] : kNames)
        if (k == kind) return name;
    return "other";
}

std::optional<FileKind> fileKindNamed(std::string_view name) {
    for (const auto& [k, text] : kNames)
        if (text == name) return k;
    return std::nullopt;
}

FileKind fileKindOf(std::string_view filename) {
    const std::string_view stem = Tokens::withoutExtension(filename);
    if (stem.size() == filename.size()) return FileKind::other;
    std::string ext(filename.substr(stem.size() + 1));
    std::ranges::transform(ext, ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (among(kDesign, ext)) return FileKind::designSource;
    if (among(kImage, ext)) return FileKind::image;
    if (among(kDocument, ext)) return FileKind::document;
    if (among(kArchive, ext)) return FileKind::archive;
    return FileKind::other;
}

bool StudioFilter::matches(const StudioFile& file, Date now) const {
    if (kind && file.kind != *kind) return false;
    if (folder && file.categoryFolder != *folder) return false;
    if (days && now.secondsSince(file.identity.modified) > *days * 86400.0) return false;
    if (text.empty()) return true;
    // Every word typed starts a word of the name, folded the way classification
    // folds names, so case and diacritics never matter.
    for (const auto& word : Tokens::all(text)) {
        const bool found =
            std::ranges::any_of(file.nameTokens, [&](const std::string& t) { return t.starts_with(word); });
        if (!found) return false;
    }
    return true;
}

}  // namespace kelo
