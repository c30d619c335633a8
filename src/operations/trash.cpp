#include "operations/trash.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

#include "access/path_safety.h"
#include "model/encoding.h"
#include "model/kelo_error.h"
#include "model/uuid.h"
#include "operations/fd_path.h"

namespace kelo {

namespace {

constexpr const char* kChanged = "Tệp đã thay đổi. Làm mới trước khi xóa.";
constexpr const char* kTrashSyncFailed =
    "Moved to the Trash but folder synchronization failed. Inspect the Trash before continuing.";
constexpr const char* kRestoreSyncFailed =
    "Restored from the Trash but folder synchronization failed. Inspect the folder before continuing.";
constexpr const char* kUnsafeTrash = "The Trash folder is not a private folder of this user. Nothing was moved.";
constexpr const char* kTrashedItemChanged =
    "The item in the Trash is no longer the one Kelo moved there. Nothing was restored.";
constexpr int kMaxNames = 10000;

[[noreturn]] void fail(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

std::optional<struct stat> lstatPath(const std::filesystem::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
        if (errno == ENOENT) return std::nullopt;
        fail(errno, "Cannot read " + path.string());
    }
    return info;
}

// A folder of the trash, made with mode 0700 when missing; it must be a real folder
// (not a link) owned by this user.
void ensurePrivateFolder(const std::filesystem::path& folder, uid_t uid) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) fail(errno, "Cannot create " + folder.string());
    const auto info = lstatPath(folder);
    if (!info || !S_ISDIR(info->st_mode) || info->st_uid != uid) throw KeloError::unsafe(kUnsafeTrash);
}

// "name", "name 2", "name 3.pdf" for "name.pdf", ...
// The info file is the item's name plus ".trashinfo", and both must fit in one
// 255-byte name: a longer name is shortened (whole UTF-8 characters, extension kept),
// which the Trash allows because the original name lives on in the info file's Path.
constexpr std::size_t kMaxTrashedName = 255 - std::string_view(".trashinfo").size();

std::string candidateName(const std::string& name, int n) {
    const std::string extension = pathExtension(name);
    std::string stem = extension.empty() ? name : name.substr(0, name.size() - extension.size() - 1);
    const std::string suffix = (n == 1 ? "" : " " + std::to_string(n)) + (extension.empty() ? "" : "." + extension);
    if (stem.size() + suffix.size() <= kMaxTrashedName) return stem + suffix;
    std::size_t keep = suffix.size() < kMaxTrashedName ? kMaxTrashedName - suffix.size() : 0;
    while (keep > 0 && (static_cast<unsigned char>(stem[keep]) & 0xC0) == 0x80) --keep;  // not inside a character
    stem.resize(keep);
    return stem + suffix;
}

std::string infoText(const std::string& path, Date deleted) {
    return "[Trash Info]\nPath=" + percentEncode(path, "/") + "\nDeletionDate=" + localTimestamp(deleted) + "\n";
}

}  // namespace

Trash::Environment Trash::Environment::current() {
    Environment environment;
    environment.uid = ::getuid();
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg != nullptr && xdg[0] == '/') {
        environment.dataHome = xdg;
    } else {
        const char* home = std::getenv("HOME");
        std::filesystem::path homePath;
        if (home != nullptr && home[0] == '/') {
            homePath = home;
        } else if (const passwd* entry = ::getpwuid(environment.uid); entry != nullptr) {
            homePath = entry->pw_dir;
        }
        environment.dataHome = homePath / ".local" / "share";
    }
    return environment;
}

Trash::Trash(Environment environment) : environment_(std::move(environment)) {}

TrashDirectory Trash::homeTrash() const {
    std::filesystem::create_directories(environment_.dataHome);
    TrashDirectory trash{environment_.dataHome / "Trash", std::nullopt};
    ensurePrivateFolder(trash.root, environment_.uid);
    ensurePrivateFolder(trash.files(), environment_.uid);
    ensurePrivateFolder(trash.info(), environment_.uid);
    return trash;
}

TrashDirectory Trash::volumeTrash(const std::filesystem::path& topdir) const {
    const std::string uid = std::to_string(environment_.uid);
    TrashDirectory trash{topdir / (".Trash-" + uid), topdir};
    // The shared $topdir/.Trash is used only when an administrator made it a sticky
    // folder; a link or a plain folder there could be anyone's.
    const auto shared = lstatPath(topdir / ".Trash");
    if (shared && S_ISDIR(shared->st_mode) && (shared->st_mode & S_ISVTX) != 0) trash.root = topdir / ".Trash" / uid;
    ensurePrivateFolder(trash.root, environment_.uid);
    ensurePrivateFolder(trash.files(), environment_.uid);
    ensurePrivateFolder(trash.info(), environment_.uid);
    return trash;
}

TrashDirectory Trash::directoryFor(const std::filesystem::path& item) const {
    const std::filesystem::path path = PathSafety::standardized(item);
    const auto info = lstatPath(path);
    if (!info) fail(ENOENT, "Cannot read " + path.string());
    // The home trash's device: its nearest existing folder.
    std::filesystem::path probe = environment_.dataHome;
    auto homeInfo = lstatPath(probe);
    while (!homeInfo && probe.has_relative_path()) {
        probe = probe.parent_path();
        homeInfo = lstatPath(probe);
    }
    if (homeInfo && homeInfo->st_dev == info->st_dev) return homeTrash();

    return volumeTrash(volumeTop(path, [](const std::filesystem::path& folder) -> std::optional<std::uint64_t> {
        const auto folderInfo = lstatPath(folder);
        if (!folderInfo) return std::nullopt;
        return static_cast<std::uint64_t>(folderInfo->st_dev);
    }));
}

std::filesystem::path Trash::volumeTop(
    const std::filesystem::path& item,
    const std::function<std::optional<std::uint64_t>(const std::filesystem::path&)>& deviceOf) {
    const std::filesystem::path path = PathSafety::standardized(item);
    const auto device = deviceOf(path);
    std::filesystem::path topdir = path.parent_path();
    while (topdir.has_relative_path()) {
        const auto parent = deviceOf(topdir.parent_path());
        if (!parent || parent != device) break;
        topdir = topdir.parent_path();
    }
    return topdir;
}

Trash::PendingNote Trash::notePending(const std::filesystem::path& info, const std::filesystem::path& trashed) const {
    if (!environment_.pendingNotes) return {};
    std::filesystem::create_directories(*environment_.pendingNotes);
    const UniqueFd folder = fd_path::openDirectory(*environment_.pendingNotes);
    const std::string name = Uuid::random().text();
    if (const int error = fd_path::createExclusiveFile(folder.get(), name, info.native() + "\n" + trashed.native() + "\n");
        error != 0)
        fail(error, "Cannot note the Trash move in " + environment_.pendingNotes->string());
    if (::fsync(folder.get()) != 0) fail(errno, "Cannot note the Trash move in " + environment_.pendingNotes->string());
    return PendingNote{*environment_.pendingNotes / name};
}

void Trash::PendingNote::clear() const {
    if (!path.empty()) ::unlink(path.c_str());
}

std::size_t Trash::settleInterrupted() const {
    if (!environment_.pendingNotes || !std::filesystem::is_directory(*environment_.pendingNotes)) return 0;
    std::size_t removed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(*environment_.pendingNotes)) {
        std::ifstream in(entry.path());
        std::string info, trashed;
        if (std::getline(in, info) && std::getline(in, trashed) && !info.empty() && !trashed.empty()) {
            struct stat status {};
            // The item never arrived: the info file describes nothing and goes.
            if (::lstat(trashed.c_str(), &status) != 0 && errno == ENOENT && ::unlink(info.c_str()) == 0) ++removed;
        }
        ::unlink(entry.path().c_str());
    }
    return removed;
}

TrashedItem Trash::moveToTrash(const std::filesystem::path& item, const std::optional<FileIdentity>& expected) const {
    return moveInto(directoryFor(item), item, expected);
}

TrashedItem Trash::moveInto(const TrashDirectory& trash, const std::filesystem::path& item,
                            const std::optional<FileIdentity>& expected) const {
    const auto source = fd_path::split(item);
    const std::filesystem::path original = source.parent / source.name;
    const UniqueFd sourceFolder = fd_path::openDirectory(source.parent);
    const UniqueFd filesFolder = fd_path::openDirectory(trash.files());
    const UniqueFd infoFolder = fd_path::openDirectory(trash.info());

    if (expected && fd_path::identityOf(fd_path::statEntry(sourceFolder.get(), source.name, item)) != *expected)
        throw KeloError::unsafe(kChanged);

    const std::string recordedPath = trash.topdir
                                         ? original.lexically_relative(PathSafety::standardized(*trash.topdir)).native()
                                         : original.native();
    const std::string text = infoText(recordedPath, environment_.clock());

    for (int n = 1; n <= kMaxNames; ++n) {
        const std::string name = candidateName(source.name, n);
        const std::string infoName = name + ".trashinfo";
        const PendingNote note = notePending(trash.info() / infoName, trash.files() / name);
        // The info file claims the name first, so two programs trashing at once can
        // never both pick it.
        if (const int error = fd_path::createExclusiveFile(infoFolder.get(), infoName, text); error != 0) {
            note.clear();
            if (error == EEXIST) continue;
            fail(error, "Cannot write " + (trash.info() / infoName).string());
        }
        if (environment_.beforeMove) environment_.beforeMove();
        const int error = fd_path::renameNoReplace(sourceFolder.get(), source.name, filesFolder.get(), name);
        if (error != 0) {
            fd_path::removeFile(infoFolder.get(), infoName);
            note.clear();
            if (error == EEXIST) continue;  // a leftover item without info holds this name
            fail(error, "Cannot move " + item.string() + " to the Trash");
        }
        const bool synced =
            ::fsync(infoFolder.get()) == 0 && ::fsync(filesFolder.get()) == 0 && ::fsync(sourceFolder.get()) == 0;
        note.clear();
        if (!synced) throw KeloError::unsafe(kTrashSyncFailed);
        const FileIdentity identity =
            fd_path::identityOf(fd_path::statEntry(filesFolder.get(), name, trash.files() / name));
        return TrashedItem{original, trash.files() / name, trash.info() / infoName, identity};
    }
    fail(EEXIST, "No free name in the Trash for " + item.string());
}

void Trash::restore(const TrashedItem& item) const {
    const auto from = fd_path::split(item.trashed);
    const auto to = fd_path::split(item.original);
    const auto info = fd_path::split(item.info);
    const UniqueFd filesFolder = fd_path::openDirectory(from.parent);
    const UniqueFd targetFolder = fd_path::openDirectory(to.parent);
    const UniqueFd infoFolder = fd_path::openDirectory(info.parent);

    if (item.identity &&
        fd_path::identityOf(fd_path::statEntry(filesFolder.get(), from.name, item.trashed)) != *item.identity)
        throw KeloError::unsafe(kTrashedItemChanged);
    const int moved = fd_path::renameNoReplace(filesFolder.get(), from.name, targetFolder.get(), to.name);
    if (moved == EEXIST)
        throw KeloError::unsafe("Name conflict: " + to.name + " already exists in " + to.parent.string() +
                                ". It stays in the Trash; nothing was overwritten.");
    if (moved != 0) fail(moved, "Cannot restore " + item.original.string());
    if (::fsync(targetFolder.get()) != 0 || ::fsync(filesFolder.get()) != 0)
        throw KeloError::unsafe(kRestoreSyncFailed);
    // Only now is the info file of no more use.
    if (const int error = fd_path::removeFile(infoFolder.get(), info.name); error != 0 && error != ENOENT)
        fail(error, "Cannot remove " + item.info.string());
    if (::fsync(infoFolder.get()) != 0) throw KeloError::unsafe(kRestoreSyncFailed);
}

}  // namespace kelo
