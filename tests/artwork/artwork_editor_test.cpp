// The studio's edits: one undo per gesture, and what this version does not
// understand left exactly as it was.
#include "artwork/artwork_editor.h"

#include <gtest/gtest.h>

namespace kelo {
namespace {

TEST(ArtworkEditorTest, GesturesUndoAsOneAndUnknownStickerKeysSurvive) {
    FolderArtwork start;
    start.folderColor = "teal";
    start.folderStickers = parseDocument(
        R"([{"kind": "hologram", "value": "x", "shimmer": 2},
            {"kind": "symbol", "value": "star", "x": 0.2, "y": 0.2, "scale": 0.2, "sparkle": [1, 2]}])");
    ArtworkEditor editor(start);
    ASSERT_EQ(editor.stickers().size(), 1u) << "the unknown kind is kept but not offered for editing";
    EXPECT_EQ(editor.stickers()[0].index, 1u);
    EXPECT_EQ(editor.stickerAt(0.25, 0.2), std::optional<std::size_t>(1));
    EXPECT_EQ(editor.stickerAt(0.5, 0.5), std::nullopt);

    editor.beginGesture();
    for (double x = 0.2; x <= 0.8; x += 0.1) editor.moveSticker(1, x, 0.9);
    editor.scaleSticker(1, 100);
    editor.rotateSticker(1, 370);
    const Json& moved = (*editor.artwork().folderStickers)[1];
    EXPECT_NEAR(moved["x"].get<double>(), 0.8, 1e-9);
    EXPECT_EQ(moved["scale"], 1.0) << "never larger than the icon";
    EXPECT_EQ(moved["rotation"], 10.0);
    EXPECT_EQ(moved["sparkle"], Json::array({1, 2}));
    EXPECT_EQ((*editor.artwork().folderStickers)[0], start.folderStickers->at(0));

    editor.setColor("pink");
    editor.addSticker(Sticker{Sticker::Kind::text, "HY"});
    editor.undo();
    editor.undo();
    EXPECT_EQ(editor.artwork().folderColor, std::optional<std::string>("teal"));
    editor.undo();  // the whole drag, scale and turn at once
    EXPECT_EQ(editor.artwork(), start);
    EXPECT_FALSE(editor.canUndo());

    editor.setImage(Bytes{1, 2, 3});
    editor.setFull(true);
    editor.setImage(std::nullopt);
    EXPECT_FALSE(editor.artwork().folderArtworkFull) << "no image, nothing to cover the icon with";
}

}  // namespace
}  // namespace kelo
