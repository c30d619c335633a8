// Reading the artwork fields: every layout of `folderArtwork`, sticker items old and
// new, and a sticker as the command line takes it; and the studio's edits: one undo
// per gesture, and what this version does not understand left exactly as it was.
#include "artwork/folder_artwork.h"

#include <gtest/gtest.h>

#include "artwork/artwork_choices.h"
#include "artwork/artwork_editor.h"
#include "support/refusal.h"

namespace kelo {
namespace {

FolderDesign designOf(const FolderArtwork& artwork) {
    std::vector<std::string> messages;
    return FolderDesign::read(artwork, messages);
}

TEST(FolderArtworkTest, ReadsEveryLayoutOfTheChosenArtwork) {
    FolderArtwork artwork;
    artwork.folderArtwork = Json("moon");  // layout 1: the chosen symbol's name
    EXPECT_EQ(designOf(artwork).symbol, "moon");
    artwork.folderSymbol = "star";  // the symbol field wins over it
    EXPECT_EQ(designOf(artwork).symbol, "star");

    artwork.folderArtwork = parseDocument(R"({"symbol": {"x": 0.25, "y": 2, "scale": 0.5}})");  // no "layout" key
    FolderDesign design = designOf(artwork);
    EXPECT_DOUBLE_EQ(design.symbolX, 0.25);
    EXPECT_DOUBLE_EQ(design.symbolY, 1.0) << "kept on the icon";
    EXPECT_DOUBLE_EQ(design.symbolScale, 0.5);

    // Writing a new placement keeps keys this version does not know.
    artwork.folderArtwork = symbolLayout(0.4, 0.5, 1.5, parseDocument(R"({"layout": 7, "halo": "gold"})"));
    EXPECT_EQ(formatDocument(*artwork.folderArtwork),
              formatDocument(
                  parseDocument(R"({"layout": 2, "halo": "gold", "symbol": {"x": 0.4, "y": 0.5, "scale": 1.5}})")));
    EXPECT_DOUBLE_EQ(designOf(artwork).symbolScale, 1.5);

    std::vector<std::string> messages;
    artwork.folderArtwork = Json::array({1, 2});
    FolderDesign::read(artwork, messages);
    EXPECT_EQ(messages, std::vector<std::string>{
                            "The folder artwork layout could not be read; the symbol is drawn in its usual place."});
}

TEST(FolderArtworkTest, StickersOldAndNewAndTheirUnknownKeys) {
    const auto old = Sticker::fromJson(Json("heart"));
    ASSERT_TRUE(old);
    EXPECT_EQ(old->value, "heart");
    EXPECT_EQ(old->kind, Sticker::Kind::symbol);

    const Json item = parseDocument(
        R"({"kind": "text", "value": "Hôm nay trời đẹp ắm nhé", "x": -1, "rotation": 725, "sparkle": 3})");
    const auto text = Sticker::fromJson(item);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->value, "Hôm nay trời đẹp ") << "cut within 24 bytes, before the character that would split";
    EXPECT_DOUBLE_EQ(text->x, 0);
    EXPECT_DOUBLE_EQ(text->rotation, 5);
    EXPECT_EQ(text->toJson(item)["sparkle"], 3);

    std::string problem;
    EXPECT_FALSE(Sticker::fromJson(parseDocument(R"({"kind": "symbol", "value": "unicorn"})"), &problem));
    EXPECT_EQ(problem, "a sticker with the unknown symbol \"unicorn\"");
}

TEST(FolderArtworkTest, StickerSpecsFromTheCommandLine) {
    const Sticker sticker = ArtworkChoices::sticker("symbol=heart,x=0.8,y=0.3,scale=0.25,rotation=-15,color=pink");
    EXPECT_EQ(sticker, (Sticker{Sticker::Kind::symbol, "heart", 0.8, 0.3, 0.25, -15, "pink"}));
    EXPECT_EQ(ArtworkChoices::sticker("text=HY").value, "HY");
    const auto refusal = [](const std::string& written) {
        return testing::refusalOf([&] { ArtworkChoices::sticker(written); });
    };
    EXPECT_EQ(refusal("x=0.5"), "A sticker needs symbol=NAME or text=TEXT of at most 24 bytes. Nothing changed.");
    EXPECT_EQ(refusal("text=HY,x=1.5"), "The sticker's x must be a number from 0 to 1, not \"1.5\". Nothing changed.");
    EXPECT_EQ(refusal("text=HY,glow=1"),
              "\"glow=1\" is not part of a sticker (use symbol=, text=, x=, y=, scale=, rotation=, color=). Nothing "
              "changed.");
    EXPECT_NE(refusal("symbol=unicorn").find("is not a symbol; choose one of star, heart"), std::string::npos);
}

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
