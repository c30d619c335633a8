#include "artwork/folder_icon_metadata.h"

#include <gio/gio.h>

#include <memory>
#include <stdexcept>

namespace kelo::FolderIconMetadata {

namespace {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using FilePtr = std::unique_ptr<GFile, GObjectUnref>;
using InfoPtr = std::unique_ptr<GFileInfo, GObjectUnref>;

[[noreturn]] void fail(GError* error) {
    const std::string reason = error ? error->message : "unknown error";
    if (error) g_error_free(error);
    throw std::runtime_error(reason);
}

}  // namespace

void set(const std::filesystem::path& folder, const std::string& iconUri) {
    FilePtr file(g_file_new_for_path(folder.c_str()));
    GError* error = nullptr;
    if (!g_file_set_attribute_string(file.get(), kCustomIconKey, iconUri.c_str(), G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS,
                                     nullptr, &error))
        fail(error);
}

std::optional<std::string> read(const std::filesystem::path& folder) {
    FilePtr file(g_file_new_for_path(folder.c_str()));
    InfoPtr info(g_file_query_info(file.get(), kCustomIconKey, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr));
    if (!info || !g_file_info_has_attribute(info.get(), kCustomIconKey)) return std::nullopt;
    const char* value = g_file_info_get_attribute_string(info.get(), kCustomIconKey);
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

void clear(const std::filesystem::path& folder) {
    FilePtr file(g_file_new_for_path(folder.c_str()));
    GError* error = nullptr;
    if (!g_file_set_attribute(file.get(), kCustomIconKey, G_FILE_ATTRIBUTE_TYPE_INVALID, nullptr,
                              G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, &error))
        fail(error);
}

}  // namespace kelo::FolderIconMetadata
