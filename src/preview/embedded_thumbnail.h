// The small JPEG preview Photoshop stores among a PSD or PSB file's image
// resources. Reading it takes a few kilobytes of the file, where decoding the
// document itself can take seconds and hundreds of megabytes. Any thread may call
// it on a descriptor it owns.
#pragma once

#include <optional>
#include <string>

namespace kelo {

struct EmbeddedThumbnail {
    int width = 0;
    int height = 0;
    std::string jpeg;  // JFIF bytes
};

// The preview stored in the Photoshop file open on `fd` (read with pread, so the
// file offset is left alone), or nothing when the file is not a Photoshop file,
// has no JPEG preview, or its resource section is damaged.
std::optional<EmbeddedThumbnail> photoshopThumbnail(int fd);

}  // namespace kelo
