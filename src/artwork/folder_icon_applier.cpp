#include "artwork/folder_icon_applier.h"

#include <stdexcept>
#include <system_error>

#include "artwork/directory_file.h"
#include "artwork/folder_icon_metadata.h"
#include "model/encoding.h"

namespace kelo {

namespace {

// GIO metadata: set it, and keep in the record only what may now be there.
void pointMetadata(AppliedFolderIcon& entry, const RecordFolderIcon& record, std::vector<std::string>& messages) {
    const bool hadOurs = entry.customIcon.has_value();
    entry.customIcon = fileUrl(entry.icon);
    record(entry);
    try {
        FolderIconMetadata::set(entry.folder, *entry.customIcon);
        messages.push_back("GNOME Files, Nemo and Caja now show the project's icon on " + entry.folder.string() + ".");
    } catch (const std::runtime_error& error) {
        if (!hadOurs) {
            entry.customIcon.reset();
            record(entry);
        }
        messages.push_back("The icon could not be set for GNOME Files, Nemo and Caja (" + std::string(error.what()) +
                           "). Nothing else changed for them.");
    }
}

// Dolphin's ".directory": created only where there is none.
void pointDirectoryFile(AppliedFolderIcon& entry, const RecordFolderIcon& record, std::vector<std::string>& messages) {
    const std::string content = DirectoryFile::contentFor(entry.icon);
    const bool ours = entry.directoryContent == content;
    entry.directoryContent = content;
    if (!ours) {
        entry.directoryDevice.reset();
        entry.directoryInode.reset();
    }
    record(entry);
    std::optional<DirectoryFile::Created> created;
    try {
        created = DirectoryFile::createIfAbsent(entry.folder, content);
    } catch (const std::system_error& error) {
        if (!ours) {
            entry.directoryContent.reset();
            record(entry);
        }
        messages.push_back("Dolphin's " + std::string(DirectoryFile::kName) + " could not be created in " +
                           entry.folder.string() + " (" + error.what() + ").");
        return;
    }
    if (created) {
        entry.directoryDevice = created->device;
        entry.directoryInode = created->inode;
        record(entry);
        messages.push_back("Dolphin shows the icon through a new " + (entry.folder / DirectoryFile::kName).string() +
                           ".");
    } else if (!ours) {
        entry.directoryContent.reset();
        record(entry);
        messages.push_back((entry.folder / DirectoryFile::kName).string() +
                           " already exists and was left as it is, so Dolphin keeps the icon it names.");
    }
}

}  // namespace

std::vector<std::string> applyFolderIcon(const std::filesystem::path& folder, const std::filesystem::path& icon,
                                         const std::optional<AppliedFolderIcon>& previous,
                                         const RecordFolderIcon& record) {
    std::vector<std::string> messages;
    AppliedFolderIcon entry{folder, icon, {}, {}, {}, {}};
    if (previous && previous->folder == folder && previous->icon == icon) {
        entry = *previous;
    } else if (previous) {
        messages = resetFolderIcon(*previous);  // the project's folder or icon moved since
    }
    pointMetadata(entry, record, messages);
    pointDirectoryFile(entry, record, messages);
    return messages;
}

std::vector<std::string> resetFolderIcon(const AppliedFolderIcon& applied) {
    std::vector<std::string> messages;
    const std::string shown = applied.folder.string();
    if (applied.customIcon) {
        const auto current = FolderIconMetadata::read(applied.folder);
        if (current == applied.customIcon) {
            try {
                FolderIconMetadata::clear(applied.folder);
                messages.push_back("GNOME Files, Nemo and Caja show the plain folder icon on " + shown + " again.");
            } catch (const std::runtime_error& error) {
                messages.push_back("The icon Kelo set for GNOME Files, Nemo and Caja on " + shown +
                                   " could not be removed (" + error.what() + ").");
            }
        } else if (current) {
            messages.push_back("The icon GNOME Files shows on " + shown +
                               " was changed since Kelo set it; it was left as it is.");
        }
    }
    if (applied.directoryContent) {
        std::optional<DirectoryFile::Created> identity;
        if (applied.directoryDevice && applied.directoryInode)
            identity = DirectoryFile::Created{*applied.directoryDevice, *applied.directoryInode};
        const std::string file = (applied.folder / DirectoryFile::kName).string();
        DirectoryFile::Removal removal = DirectoryFile::Removal::changed;
        try {
            removal = DirectoryFile::removeIfUnchanged(applied.folder, *applied.directoryContent, identity);
        } catch (const std::system_error& error) {
            messages.push_back(file + " could not be checked (" + error.what() + "); it was left as it is.");
            return messages;
        }
        switch (removal) {
            case DirectoryFile::Removal::removed:
                messages.push_back("Removed " + file + ", which Kelo created.");
                break;
            case DirectoryFile::Removal::changed:
                messages.push_back(file + " was changed since Kelo created it; it was left as it is.");
                break;
            case DirectoryFile::Removal::absent: break;
        }
    }
    return messages;
}

}  // namespace kelo
