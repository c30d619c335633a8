#include "housekeeping/handoff_archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "access/folder_handle.h"
#include "model/kelo_error.h"
#include "operations/fd_path.h"

namespace kelo {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kArchiveFailed = "Archive creation failed: ";

// What every file source shares: the project folder, progress and cancellation.
struct Packing {
    fs::path root;
    const HandoffProgress* progress;
    std::stop_token stop;
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    bool cancelled = false;
    bool changed = false;  // a file was no longer the one the inventory saw
    std::string failure;
};

// One file of the project as a libzip source. Hand-written rather than
// zip_source_file so the file is opened without following a link, checked against
// the inventory's identity, read in chunks between which cancellation is seen.
struct FileSource {
    Packing* packing;
    ProjectEntry entry;
    int fd = -1;
    zip_error_t error{};

    void fail(const std::string& why) {
        if (packing->failure.empty()) packing->failure = why;
        zip_error_set(&error, ZIP_ER_READ, EIO);
    }

    bool open() {
        UniqueFd folder = openFolderNoFollow(
            entry.relativePath.has_parent_path() ? packing->root / entry.relativePath.parent_path() : packing->root);
        fd = ::openat(folder.get(), entry.relativePath.filename().c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        struct stat info {};
        if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
            fd_path::identityOf(info) != entry.identity) {
            packing->changed = true;
            zip_error_set(&error, ZIP_ER_CHANGED, 0);
            return false;
        }
        return true;
    }

    zip_int64_t read(void* data, zip_uint64_t length) {
        if (packing->stop.stop_requested()) {
            packing->cancelled = true;
            zip_error_set(&error, ZIP_ER_CANCELLED, 0);
            return -1;
        }
        const ssize_t got = ::read(fd, data, length);
        if (got < 0) {
            fail((packing->root / entry.relativePath).native() + ": " + std::strerror(errno));
            return -1;
        }
        packing->done += static_cast<std::uint64_t>(got);
        if (*packing->progress) (*packing->progress)(packing->done, packing->total);
        return got;
    }

    static zip_int64_t callback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) {
        auto* self = static_cast<FileSource*>(state);
        try {
            switch (command) {
                case ZIP_SOURCE_OPEN: return self->open() ? 0 : -1;
                case ZIP_SOURCE_READ: return self->read(data, length);
                case ZIP_SOURCE_CLOSE:
                    if (self->fd >= 0) ::close(self->fd);
                    self->fd = -1;
                    return 0;
                case ZIP_SOURCE_STAT: {
                    auto* st = static_cast<zip_stat_t*>(data);
                    zip_stat_init(st);
                    st->valid = ZIP_STAT_SIZE | ZIP_STAT_MTIME;
                    st->size = self->entry.identity.size;
                    st->mtime = static_cast<time_t>(self->entry.identity.modified.sinceUnixEpoch());
                    return sizeof(*st);
                }
                case ZIP_SOURCE_ERROR: return zip_error_to_data(&self->error, data, length);
                case ZIP_SOURCE_FREE:
                    if (self->fd >= 0) ::close(self->fd);
                    delete self;
                    return 0;
                case ZIP_SOURCE_SUPPORTS:
                    return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE,
                                                          ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
                default: zip_error_set(&self->error, ZIP_ER_OPNOTSUPP, 0); return -1;
            }
        } catch (const std::exception& failure) {
            self->fail(failure.what());
            return -1;
        }
    }
};

[[noreturn]] void failArchive(const std::string& why) {
    throw KeloError::unsafe(std::string(kArchiveFailed) + why);
}

bool isUtf8(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        const std::size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (length == 0 || i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) >> 6) != 2) return false;
        i += length;
    }
    return true;
}

void addEntries(zip_t* zip, Packing& packing, const ProjectInventory& inventory) {
    const std::string top = inventory.folder.filename().native();
    const auto addFolder = [&](const std::string& name) {
        const zip_int64_t index = zip_dir_add(zip, name.c_str(), ZIP_FL_ENC_UTF_8);
        if (index < 0) failArchive(zip_strerror(zip));
        zip_file_set_external_attributes(zip, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                         static_cast<zip_uint32_t>(S_IFDIR | 0755) << 16);
    };
    if (!isUtf8(top)) failArchive("the project folder's name is not UTF-8.");
    addFolder(top);
    for (const auto& entry : inventory.entries) {
        const std::string name = top + "/" + entry.relativePath.native();
        if (!isUtf8(name)) failArchive(name + " is not a UTF-8 name.");
        if (entry.isFolder) {
            addFolder(name);
            continue;
        }
        auto* state = new FileSource{&packing, entry, -1, {}};
        zip_source_t* source = zip_source_function(zip, &FileSource::callback, state);
        if (source == nullptr) {
            delete state;
            failArchive(zip_strerror(zip));
        }
        const zip_int64_t index = zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            failArchive(zip_strerror(zip));
        }
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
        zip_file_set_external_attributes(zip, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                         static_cast<zip_uint32_t>(S_IFREG | 0644) << 16);
    }
}

}  // namespace

ArchiveOutcome buildHandoffArchive(const ProjectInventory& inventory, const fs::path& archive,
                                   const HandoffProgress& progress, std::stop_token stop) {
    Packing packing;
    packing.root = inventory.folder;
    packing.progress = &progress;
    packing.stop = stop;
    packing.total = inventory.totalBytes;
    int error = 0;
    zip_t* zip = zip_open(archive.c_str(), ZIP_CREATE | ZIP_EXCL, &error);
    if (zip == nullptr) {
        zip_error_t detail;
        zip_error_init_with_code(&detail, error);
        const std::string why = zip_error_strerror(&detail);
        zip_error_fini(&detail);
        failArchive(why);
    }
    try {
        addEntries(zip, packing, inventory);
    } catch (...) {
        zip_discard(zip);
        throw;
    }
    // libzip writes to a temporary beside `archive` and renames it into place only
    // when everything was written, so a failed or cancelled close leaves nothing.
    if (zip_close(zip) != 0) {
        const std::string why = packing.failure.empty() ? zip_strerror(zip) : packing.failure;
        zip_discard(zip);
        if (packing.cancelled) return ArchiveOutcome::cancelled;
        if (packing.changed) return ArchiveOutcome::projectChanged;
        failArchive(why);
    }
    return ArchiveOutcome::built;
}

}  // namespace kelo
