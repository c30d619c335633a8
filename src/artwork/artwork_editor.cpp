#include "artwork/artwork_editor.h"

#include <algorithm>
#include <cmath>

namespace kelo {

std::vector<ArtworkEditor::PlacedSticker> ArtworkEditor::stickers() const {
    std::vector<PlacedSticker> out;
    if (!artwork_.folderStickers || !artwork_.folderStickers->is_array()) return out;
    for (std::size_t i = 0; i < artwork_.folderStickers->size(); ++i)
        if (auto sticker = Sticker::fromJson((*artwork_.folderStickers)[i])) out.push_back({i, *sticker});
    return out;
}

std::optional<std::size_t> ArtworkEditor::stickerAt(double x, double y) const {
    const auto placed = stickers();
    for (auto it = placed.rbegin(); it != placed.rend(); ++it) {
        const Sticker& s = it->sticker;
        if (std::hypot(x - s.x, y - s.y) <= s.scale / 2) return it->index;
    }
    return std::nullopt;
}

void ArtworkEditor::remember() {
    undo_.push_back(artwork_);
}

void ArtworkEditor::setColor(std::string name) {
    remember();
    artwork_.folderColor = std::move(name);
}

void ArtworkEditor::setSymbol(std::optional<std::string> name) {
    remember();
    artwork_.folderSymbol = std::move(name);
}

void ArtworkEditor::setSkin(std::string name) {
    remember();
    artwork_.folderSkin = std::move(name);
}

void ArtworkEditor::setImage(std::optional<Bytes> image) {
    remember();
    artwork_.customSkinData = std::move(image);
    if (!artwork_.customSkinData) artwork_.folderArtworkFull = false;
}

void ArtworkEditor::setFull(bool full) {
    remember();
    artwork_.folderArtworkFull = full;
}

std::size_t ArtworkEditor::addSticker(const Sticker& sticker) {
    remember();
    if (!artwork_.folderStickers || !artwork_.folderStickers->is_array()) artwork_.folderStickers = Json::array();
    artwork_.folderStickers->push_back(sticker.toJson());
    return artwork_.folderStickers->size() - 1;
}

void ArtworkEditor::removeSticker(std::size_t index) {
    if (!artwork_.folderStickers || index >= artwork_.folderStickers->size()) return;
    remember();
    artwork_.folderStickers->erase(artwork_.folderStickers->begin() + static_cast<std::ptrdiff_t>(index));
}

void ArtworkEditor::beginGesture() {
    remember();
}

template <class Change>
void ArtworkEditor::editSticker(std::size_t index, Change change) {
    if (!artwork_.folderStickers || index >= artwork_.folderStickers->size()) return;
    Json& item = (*artwork_.folderStickers)[index];
    auto sticker = Sticker::fromJson(item);
    if (!sticker) return;
    change(*sticker);
    item = sticker->toJson(item.is_object() ? item : Json::object());
}

void ArtworkEditor::moveSticker(std::size_t index, double x, double y) {
    editSticker(index, [&](Sticker& s) {
        s.x = std::clamp(x, 0.0, 1.0);
        s.y = std::clamp(y, 0.0, 1.0);
    });
}

void ArtworkEditor::scaleSticker(std::size_t index, double factor) {
    editSticker(index, [&](Sticker& s) { s.scale = std::clamp(s.scale * factor, 0.05, 1.0); });
}

void ArtworkEditor::rotateSticker(std::size_t index, double degrees) {
    editSticker(index, [&](Sticker& s) { s.rotation = std::fmod(s.rotation + degrees, 360.0); });
}

void ArtworkEditor::undo() {
    if (undo_.empty()) return;
    artwork_ = std::move(undo_.back());
    undo_.pop_back();
}

}  // namespace kelo
