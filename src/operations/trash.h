// Trash: moves items to the desktop's Trash in the freedesktop.org Trash layout, so
// that other tools list and restore them, and records where each one went so that
// Kelo can put it back.
//
// An item on the same file system as the home trash ($XDG_DATA_HOME/Trash) goes
// there; any other goes to its volume's trash: $topdir/.Trash/$uid when $topdir/.Trash
// is a sticky folder and not a link, else $topdir/.Trash-$uid. The ".trashinfo" is
// created first with O_EXCL, then the item is renamed in with RENAME_NOREPLACE (the
// info file is removed again if that fails); nothing is ever copied or replaced.
// This is our own small implementation because we must know exactly where each file
// went for undo, and a library that may fall back to copying is not acceptable.
//
// Holds only its environment (data home, user id, clock). Used from the engine thread.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

#include "model/date.h"
#include "model/file_record.h"

namespace kelo {

// Where one trashed item went.
struct TrashedItem {
    std::filesystem::path original;  // where the item was
    std::filesystem::path trashed;   // <trash>/files/<name>
    std::filesystem::path info;      // <trash>/info/<name>.trashinfo
    // The item's identity as it lay in the Trash just after the move; a restore
    // refuses an item that no longer has it.
    std::optional<FileIdentity> identity;

    friend bool operator==(const TrashedItem&, const TrashedItem&) = default;
};

// One trash folder; `topdir` is set for a volume trash, whose Path= lines are relative.
struct TrashDirectory {
    std::filesystem::path root;
    std::optional<std::filesystem::path> topdir;

    std::filesystem::path files() const { return root / "files"; }
    std::filesystem::path info() const { return root / "info"; }
};

class Trash {
public:
    struct Environment {
        std::filesystem::path dataHome;  // $XDG_DATA_HOME, or ~/.local/share
        uid_t uid = 0;
        std::function<Date()> clock = Date::now;
        // Where Kelo notes each info file it is about to write, until the item has
        // moved: a kill in between leaves an info file with nothing behind it, which
        // settleInterrupted removes. None: no notes (tests of the layout alone).
        std::optional<std::filesystem::path> pendingNotes{};
        // Tests only: runs after the info file is written and before the item moves.
        std::function<void()> beforeMove{};

        // The running user's: $XDG_DATA_HOME when absolute, else $HOME/.local/share.
        static Environment current();
    };

    explicit Trash(Environment environment);

    const Environment& environment() const { return environment_; }

    // Moves the item to its trash. With `expected`, the item's identity is read again
    // through its folder just before the move and must still match. Throws KeloError
    // or std::system_error; on failure the item stays where it was and no info file
    // is left behind.
    TrashedItem moveToTrash(const std::filesystem::path& item,
                            const std::optional<FileIdentity>& expected = std::nullopt) const;

    // Puts a trashed item back with an exclusive rename (an item now at the original
    // name is never replaced), then removes its info file. Throws KeloError when the
    // item in the Trash is no longer the one Kelo put there.
    void restore(const TrashedItem& item) const;

    // Removes the info files Kelo wrote for moves that a kill interrupted before the
    // item moved (the item is still where it was), and the notes of moves that did
    // finish. Only files named in Kelo's own notes are touched. Returns how many
    // info files were removed.
    std::size_t settleInterrupted() const;

    // The trash an item goes to, created (mode 0700) when missing.
    TrashDirectory directoryFor(const std::filesystem::path& item) const;
    TrashDirectory homeTrash() const;
    TrashDirectory volumeTrash(const std::filesystem::path& topdir) const;

    // The top folder of the volume holding `item`: its highest ancestor on the same
    // device, as `deviceOf` reports devices (nothing for a path that cannot be read).
    static std::filesystem::path volumeTop(
        const std::filesystem::path& item,
        const std::function<std::optional<std::uint64_t>(const std::filesystem::path&)>& deviceOf);

    // Moves the item into the given trash (the step after choosing it).
    TrashedItem moveInto(const TrashDirectory& trash, const std::filesystem::path& item,
                         const std::optional<FileIdentity>& expected = std::nullopt) const;

private:
    // The note of one Trash move in progress; clear() removes it once the move is
    // settled either way.
    struct PendingNote {
        std::filesystem::path path;  // empty: nothing noted
        void clear() const;
    };
    PendingNote notePending(const std::filesystem::path& info, const std::filesystem::path& trashed) const;

    Environment environment_;
};

}  // namespace kelo
