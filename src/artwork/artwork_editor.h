// ArtworkEditor: the edits the sticker studio makes to one project's artwork, with
// undo. It changes only the keys an edit is about, so values and keys this version
// does not understand (a sticker of an unknown kind, a future layout key) stay as
// they were. A drag or turn is one gesture: beginGesture() once, then any number of
// moves, and one undo puts it all back. Plain object; one thread at a time.
#pragma once

#include <optional>
#include <vector>

#include "artwork/folder_artwork.h"

namespace kelo {

class ArtworkEditor {
public:
    explicit ArtworkEditor(FolderArtwork start) : artwork_(std::move(start)) {}

    const FolderArtwork& artwork() const { return artwork_; }
    // The stickers the editor can draw and move, each with its place in the stored list.
    struct PlacedSticker {
        std::size_t index;
        Sticker sticker;
    };
    std::vector<PlacedSticker> stickers() const;
    // The topmost sticker covering (x, y), in fractions of the icon's edge.
    std::optional<std::size_t> stickerAt(double x, double y) const;

    void setColor(std::string name);
    void setSymbol(std::optional<std::string> name);
    void setSkin(std::string name);
    void setImage(std::optional<Bytes> image);
    void setFull(bool full);
    // Adds a sticker on top and returns its index.
    std::size_t addSticker(const Sticker& sticker);
    void removeSticker(std::size_t index);

    // Starts one drag or turn: the state before it is what undo goes back to.
    void beginGesture();
    void moveSticker(std::size_t index, double x, double y);
    void scaleSticker(std::size_t index, double factor);
    void rotateSticker(std::size_t index, double degrees);

    bool canUndo() const { return !undo_.empty(); }
    void undo();

private:
    void remember();
    // Rewrites the sticker at `index` through `change`, keeping its other keys.
    template <class Change>
    void editSticker(std::size_t index, Change change);

    FolderArtwork artwork_;
    std::vector<FolderArtwork> undo_;
};

}  // namespace kelo
