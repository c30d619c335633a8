// Descriptor-relative file calls: folders opened from "/" one component at a time
// without following links, entries read and renamed through those descriptors. These
// are hand-written on purpose: the path-based calls of std::filesystem follow links
// and replace existing names. Stateless; any thread may call them.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "model/file_record.h"
#include "store/posix_file.h"

namespace kelo::fd_path {

// An absolute path split into its standardized parent folder and last name. Throws
// std::system_error (EINVAL) for a relative path or one without a last name ("/").
struct ParentAndName {
    std::filesystem::path parent;
    std::string name;
};
ParentAndName split(const std::filesystem::path& path);

// Opens an absolute folder by walking from "/" one component at a time, each opened
// relative to the previous with O_DIRECTORY|O_NOFOLLOW|O_CLOEXEC, so a component that
// is a link or not a folder makes the open fail (std::system_error). The folder itself
// is opened read-only so it can be synced.
UniqueFd openDirectory(const std::filesystem::path& folder);

// fstatat(folder, name, AT_SYMLINK_NOFOLLOW); failures throw std::system_error.
struct stat statEntry(int folder, const std::string& name, const std::filesystem::path& what);
// Device, inode, size and modification date as the rest of Kelo reads them.
FileIdentity identityOf(const struct stat& info);

// renameat2(..., RENAME_NOREPLACE): 0 on success, else the errno value.
int renameNoReplace(int fromFolder, const std::string& fromName, int toFolder, const std::string& toName);
// mkdirat: 0 on success, else the errno value.
int makeDirectory(int folder, const std::string& name, mode_t mode);

// Creates a new file with O_EXCL (never following a link), writes `content` and syncs
// it: 0 on success, else the errno value (EEXIST when the name is taken). A file that
// was created but could not be written or synced is removed again.
int createExclusiveFile(int folder, const std::string& name, const std::string& content);
// unlinkat of a file: 0 on success, else the errno value.
int removeFile(int folder, const std::string& name);

}  // namespace kelo::fd_path
