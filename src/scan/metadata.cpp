#include "scan/metadata.h"

#include <fcntl.h>

#include "model/kelo_error.h"
#include "scan/content_type.h"
#include "scan/file_status.h"

namespace kelo::Metadata {

namespace {

FileStatus regularFileStatus(int folderFd, const char* name, const std::filesystem::path& url) {
    FileStatus status = readStatus(folderFd, name, url);
    if (!status.isRegular())
        throw KeloError::unsafe("Source is missing, symbolic, or not a regular file: " + url.filename().native());
    return status;
}

FileIdentity identityOf(const FileStatus& status) {
    return FileIdentity{status.device, status.inode, status.size, status.modified};
}

// `name` is the last component of `url`, NUL-terminated.
FileRecord recordOf(const FileStatus& status, const char* name, std::filesystem::path url,
                    const std::filesystem::path& source) {
    FileRecord record;
    record.contentType = guessContentType(name);
    record.url = std::move(url);
    record.sourceFolder = source;
    record.identity = identityOf(status);
    record.created = status.created.value_or(status.modified);
    return record;
}

}  // namespace

FileIdentity identity(const std::filesystem::path& url) {
    return identityOf(regularFileStatus(AT_FDCWD, url.c_str(), url));
}

FileRecord record(const std::filesystem::path& url, const std::filesystem::path& source) {
    return recordOf(regularFileStatus(AT_FDCWD, url.c_str(), url), url.filename().c_str(), url, source);
}

FileRecord recordAt(int folderFd, const char* name, std::filesystem::path url, const std::filesystem::path& source) {
    const FileStatus status = regularFileStatus(folderFd, name, url);
    return recordOf(status, name, std::move(url), source);
}

}  // namespace kelo::Metadata
