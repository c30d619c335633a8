#include "access/folder_bookmark.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "access/path_safety.h"
#include "model/json_codec.h"
#include "model/kelo_error.h"

namespace kelo {

FolderBookmark FolderBookmark::make(const std::filesystem::path& folder) {
    const auto path = PathSafety::standardized(folder);
    PathSafety::noSymbolicComponents(folder);
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) throw std::system_error(errno, std::generic_category(), path.native());
    if (!S_ISDIR(info.st_mode)) throw KeloError::unsafe("Folder unavailable: " + path.native());
    return FolderBookmark{path, static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)};
}

Bytes FolderBookmark::encode() const {
    const Json document = {{"device", device}, {"inode", inode}, {"path", fileUrl(path)}};
    const std::string text = document.dump();
    return Bytes(text.begin(), text.end());
}

std::optional<FolderBookmark> FolderBookmark::decode(const Bytes& bytes) {
    const Json document = Json::parse(bytes.begin(), bytes.end(), nullptr, /*allow_exceptions=*/false);
    if (!document.is_object()) return std::nullopt;
    const auto device = document.find("device");
    const auto inode = document.find("inode");
    const auto url = document.find("path");
    if (device == document.end() || !device->is_number_unsigned() || inode == document.end() ||
        !inode->is_number_unsigned() || url == document.end() || !url->is_string())
        return std::nullopt;
    auto path = pathFromFileUrl(url->get<std::string>());
    if (!path || !path->is_absolute()) return std::nullopt;
    return FolderBookmark{*path, device->get<std::uint64_t>(), inode->get<std::uint64_t>()};
}

}  // namespace kelo
