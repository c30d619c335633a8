#include "scan/file_scanner.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

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

std::string line(const std::filesystem::path& path, const std::string& reason) {
    return path.native() + ": " + reason;
}

// Entries skipped by name alone, before any system call.
bool skippedByName(const char* name) {
    return name[0] == '.' || PathSafety::isIgnoredSystemFile(name);
}

// d_type spares a statx for folders and links; DT_UNKNOWN (some file systems)
// falls through to statx, which decides.
bool skippedByType(unsigned char type) {
    return type != DT_REG && type != DT_UNKNOWN;
}

// Opens the root without following any link on the way; nothing on failure,
// after adding its line.
DirStream openRoot(const std::filesystem::path& given, const std::filesystem::path& root, ScanResult& result) {
    try {
        PathSafety::noSymbolicComponents(given);  // as written: ".." must not hide a link
    } catch (const KeloError& error) {
        result.errors.push_back(error.message());
        return nullptr;
    }
    try {
        UniqueFd fd = openFolderNoFollow(root);
        DirStream dir(::fdopendir(fd.get()));
        if (!dir) throw std::system_error(errno, std::generic_category(), root.native());
        fd.release();  // now owned by the stream
        return dir;
    } catch (const std::system_error& error) {
        result.errors.push_back(line(root, error.code().message()));
        return nullptr;
    }
}

// The names of the entries that may be inbox files, in byte order, kept in one
// buffer (NUL after each) so listing a large inbox costs few allocations. Names in
// one folder are unique, so the order is total.
class CandidateNames {
public:
    CandidateNames(DIR* dir, const std::filesystem::path& root, ScanResult& result) {
        std::vector<std::pair<std::size_t, std::size_t>> spans;  // start and length in buffer_
        for (;;) {
            errno = 0;
            const dirent* entry = ::readdir(dir);
            if (entry == nullptr) {
                if (errno != 0) result.errors.push_back(line(root, std::generic_category().message(errno)));
                break;
            }
            if (skippedByName(entry->d_name) || skippedByType(entry->d_type)) continue;
            const std::size_t length = std::strlen(entry->d_name);
            spans.emplace_back(buffer_.size(), length);
            buffer_.append(entry->d_name, length).push_back('\0');
        }
        // Views are taken once the buffer has stopped growing; each keeps its
        // length, so sorting compares bytes without measuring names again.
        names_.reserve(spans.size());
        for (const auto& [start, length] : spans) names_.emplace_back(buffer_.data() + start, length);
        std::sort(names_.begin(), names_.end());
    }
    CandidateNames(const CandidateNames&) = delete;  // the views point into buffer_
    CandidateNames& operator=(const CandidateNames&) = delete;

    std::size_t size() const { return names_.size(); }
    // Followed by a NUL, so data() may go to a system call.
    std::string_view operator[](std::size_t i) const { return names_[i]; }

private:
    std::string buffer_;
    std::vector<std::string_view> names_;
};

void scanRoot(const std::filesystem::path& given, ScanResult& result) {
    const std::filesystem::path root = PathSafety::standardized(given);
    DirStream dir = openRoot(given, root, result);
    if (!dir) return;
    const CandidateNames names(dir.get(), root, result);
    result.files.reserve(result.files.size() + names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string_view name = names[i];
        // Joined as text: appending with "/" would re-split the whole path.
        std::string url;
        url.reserve(root.native().size() + 1 + name.size());
        url.append(root.native()).append(1, '/').append(name);
        try {
            result.files.push_back(Metadata::recordAt(::dirfd(dir.get()), name.data(), std::move(url), root));
        } catch (const KeloError&) {
            // Not a regular file after all (d_type was unknown, or it changed): skipped like any folder.
        } catch (const std::system_error& error) {
            result.errors.push_back(line(root / name, error.code().message()));
        }
    }
}

}  // namespace

// Each root's records arrive sorted by name, which within one root is the order
// of their paths; merging the runs by whole paths (stably, earlier roots first on
// a tie) gives one list in ascending path order.
ScanResult scan(const std::vector<std::filesystem::path>& roots) {
    ScanResult result;
    const auto byPath = [](const FileRecord& a, const FileRecord& b) { return a.url.native() < b.url.native(); };
    for (const auto& root : roots) {
        const auto runStart = static_cast<std::ptrdiff_t>(result.files.size());
        scanRoot(root, result);
        std::inplace_merge(result.files.begin(), result.files.begin() + runStart, result.files.end(), byPath);
    }
    return result;
}

std::optional<FileRecord> scanEntry(const std::filesystem::path& root, const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos || skippedByName(name.c_str())) return std::nullopt;
    const std::filesystem::path folder = PathSafety::standardized(root);
    const UniqueFd fd = openFolderNoFollow(folder);
    std::string url;
    url.reserve(folder.native().size() + 1 + name.size());
    url.append(folder.native()).append(1, '/').append(name);
    try {
        return Metadata::recordAt(fd.get(), name.c_str(), std::move(url), folder);
    } catch (const KeloError&) {
        return std::nullopt;  // not a regular file: a scan skips it like any folder
    }
}

}  // namespace kelo::FileScanner
