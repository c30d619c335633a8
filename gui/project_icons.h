// The project's folder icon as the desktop app shows it beside the project's name,
// drawn by the core's renderer from the project's artwork fields and kept while
// those fields stay the same. Main thread only.
#pragma once

#include <QIcon>
#include <QImage>

#include "artwork/folder_artwork.h"
#include "engine/snapshot.h"
#include "model/project.h"

namespace kelo::gui {

// The icon of `project` (the plain folder when it has no artwork).
QIcon projectIcon(const Project& project);
// The icon of the project with this id, or no icon when the snapshot has none.
QIcon projectIcon(const Snapshot& snapshot, const Uuid& id);

// The artwork drawn at `size` pixels (one of the renderer's sizes).
QImage artworkImage(const FolderArtwork& artwork, int size);

}  // namespace kelo::gui
