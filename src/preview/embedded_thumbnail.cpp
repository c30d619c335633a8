#include "preview/embedded_thumbnail.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace kelo {

namespace {

constexpr std::uint16_t kThumbnailResource = 1036;  // Photoshop 5 and later; 1033 is older, in BGR
constexpr std::uint32_t kJpegFormat = 1;
constexpr std::uint32_t kThumbnailHeaderBytes = 28;
// Resource sections hold colour profiles and metadata, rarely more than a few
// megabytes; a larger length is more likely damage than data.
constexpr std::uint32_t kMaxResourceBytes = 32u << 20;

bool readAt(int fd, std::string& out, off_t offset, std::size_t length) {
    out.resize(length);
    std::size_t done = 0;
    while (done < length) {
        const ssize_t n = ::pread(fd, out.data() + done, length - done, offset + static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::uint32_t bigEndian(const std::string& bytes, std::size_t at, int width) {
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i) value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// The file header, then the colour-mode section: where the resource section
// starts and how long it is.
std::optional<std::pair<off_t, std::uint32_t>> resourceSection(int fd) {
    std::string head;
    if (!readAt(fd, head, 0, 30) || head.compare(0, 4, "8BPS") != 0) return std::nullopt;
    const std::uint32_t version = bigEndian(head, 4, 2);
    if (version != 1 && version != 2) return std::nullopt;
    const off_t resourcesAt = 30 + static_cast<off_t>(bigEndian(head, 26, 4));
    std::string length;
    if (!readAt(fd, length, resourcesAt, 4)) return std::nullopt;
    return std::pair{resourcesAt + 4, bigEndian(length, 0, 4)};
}

// Walks the resource blocks: "8BIM", id, a padded Pascal name, a length and the
// padded data.
std::optional<std::string> findResource(const std::string& section, std::uint16_t wanted) {
    std::size_t at = 0;
    while (at + 8 <= section.size() && section.compare(at, 4, "8BIM") == 0) {
        const std::uint32_t id = bigEndian(section, at + 4, 2);
        const std::size_t nameBytes = (1 + static_cast<unsigned char>(section[at + 6]) + 1) & ~std::size_t{1};
        const std::size_t lengthAt = at + 6 + nameBytes;
        if (lengthAt + 4 > section.size()) return std::nullopt;
        const std::size_t length = bigEndian(section, lengthAt, 4);
        const std::size_t dataAt = lengthAt + 4;
        if (length > section.size() - dataAt) return std::nullopt;
        if (id == wanted) return section.substr(dataAt, length);
        at = dataAt + ((length + 1) & ~std::size_t{1});
    }
    return std::nullopt;
}

}  // namespace

std::optional<EmbeddedThumbnail> photoshopThumbnail(int fd) {
    const auto section = resourceSection(fd);
    if (!section || section->second > kMaxResourceBytes) return std::nullopt;
    std::string resources;
    if (!readAt(fd, resources, section->first, section->second)) return std::nullopt;
    const auto data = findResource(resources, kThumbnailResource);
    if (!data || data->size() <= kThumbnailHeaderBytes || bigEndian(*data, 0, 4) != kJpegFormat) return std::nullopt;
    EmbeddedThumbnail out;
    out.width = static_cast<int>(bigEndian(*data, 4, 4));
    out.height = static_cast<int>(bigEndian(*data, 8, 4));
    out.jpeg = data->substr(kThumbnailHeaderBytes);
    if (out.width <= 0 || out.height <= 0) return std::nullopt;
    return out;
}

}  // namespace kelo
