// StudioFilter and the kinds of files the Studio tells apart. A filter narrows a
// project's files by kind, category folder, age and text in the name; the text is
// matched on classification tokens, so "tra xanh" finds "Trà Xanh". Pure values
// and functions; any thread may call them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/date.h"

namespace kelo {

enum class FileKind { designSource, image, document, archive, other };

inline constexpr FileKind kFileKinds[] = {FileKind::designSource, FileKind::image, FileKind::document,
                                          FileKind::archive, FileKind::other};

// "design-source", "image", "document", "archive", "other".
std::string_view fileKindName(FileKind kind);
std::optional<FileKind> fileKindNamed(std::string_view name);
// By the file name's extension, ignoring case.
FileKind fileKindOf(std::string_view filename);

struct StudioFile;

// The longest age a filter may ask for (a hundred years).
inline constexpr int kMaxFilterDays = 36500;

struct StudioFilter {
    std::string name;  // empty for an unsaved filter
    std::optional<FileKind> kind;
    std::optional<std::string> folder;  // category folder name; "" is the project's top level
    std::optional<int> days;            // modified within this many days
    std::string text;                   // words that must all occur in the name

    bool empty() const { return !kind && !folder && !days && text.empty(); }
    bool matches(const StudioFile& file, Date now) const;

    friend bool operator==(const StudioFilter&, const StudioFilter&) = default;
};

}  // namespace kelo
