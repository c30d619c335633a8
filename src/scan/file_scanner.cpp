#include "scan/file_scanner.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "access/folder_handle.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo::FileScanner {

namespace {

// Owns a DIR stream made from a folder descriptor.
struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};
using DirStream = std::unique_ptr<DIR, DirCloser>;

std::string line(const std::filesystem::path& path, const std::string& reason) { return path.native() + ": " + reason; }

// Entries skipped by name alone, before any system call.
bool skippedByName(const char* name) {
    return name[0] == '.' || PathSafety::isIgnoredSystemFile(name);
}

// d_type spares a statx for folders and links; DT_UNKNOWN (some file systems)
// falls through to statx, which decides.
bool skippedByType(unsigned char type) { return type != DT_REG && type != DT_UNKNOWN; }

void scanRoot(const std::filesystem::path& root, ScanResult& result) {
    try {
        PathSafety::noSymbolicComponents(root);
    } catch (const KeloError& error) {
        result.errors.push_back(error.message());
        return;
    }
    DirStream dir;
    int folderFd = -1;
    try {
        UniqueFd fd = openFolderNoFollow(root);
        dir.reset(::fdopendir(fd.get()));
        if (!dir) throw std::system_error(errno, std::generic_category(), root.native());
        folderFd = fd.release();  // now owned by the stream
    } catch (const std::system_error& error) {
        result.errors.push_back(line(root, error.code().message()));
        return;
    }
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(dir.get());
        if (entry == nullptr) {
            if (errno != 0) result.errors.push_back(line(root, std::generic_category().message(errno)));
            break;
        }
        if (skippedByName(entry->d_name) || skippedByType(entry->d_type)) continue;
        const auto url = root / entry->d_name;
        try {
            result.files.push_back(Metadata::recordAt(folderFd, entry->d_name, url, root));
        } catch (const KeloError&) {
            // Not a regular file after all (d_type was unknown, or it changed): skipped like any folder.
        } catch (const std::system_error& error) {
            result.errors.push_back(line(url, error.code().message()));
        }
    }
}

}  // namespace

ScanResult scan(const std::vector<std::filesystem::path>& roots) {
    ScanResult result;
    for (const auto& root : roots) scanRoot(PathSafety::standardized(root), result);
    std::stable_sort(result.files.begin(), result.files.end(),
                     [](const FileRecord& a, const FileRecord& b) { return a.url.native() < b.url.native(); });
    return result;
}

}  // namespace kelo::FileScanner
