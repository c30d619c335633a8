#include "engine/artwork_commands.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "artwork/artwork_choices.h"
#include "artwork/folder_icon_renderer.h"
#include "cli/command.h"
#include "cli/output.h"
#include "model/kelo_error.h"

namespace kelo::cli {

namespace {

struct ArtworkOptions {
    std::string project;
    std::optional<std::string> color, symbol, skin, image, render;
    std::vector<std::string> stickers;
    bool full = false;
    int size = kFolderIconSizes.front();
};

// The project's artwork with the options applied; what was not given stays as it is.
FolderArtwork chosenArtwork(Engine& engine, const ArtworkOptions& o) {
    FolderArtwork artwork = FolderArtwork::of(engine.findProject(o.project));
    if (o.color) artwork.folderColor = ArtworkChoices::color(*o.color);
    if (o.symbol) artwork.folderSymbol = ArtworkChoices::symbol(*o.symbol);
    if (o.skin) artwork.folderSkin = ArtworkChoices::skin(*o.skin);
    if (!o.stickers.empty()) {
        Json stickers = Json::array();
        for (const auto& written : o.stickers) stickers.push_back(ArtworkChoices::sticker(written).toJson());
        artwork.folderStickers = std::move(stickers);
    }
    if (o.image) {
        artwork.customSkinData = ArtworkChoices::imageFile(*o.image, ArtworkCommands::kMaxCustomImageBytes);
        artwork.folderArtworkFull = false;
    }
    if (o.full) artwork.folderArtworkFull = true;
    return artwork;
}

SnapshotPtr runArtwork(Engine& engine, const ArtworkOptions& o) {
    if (o.project.empty()) throw KeloError::unsafe("Name a project. Nothing changed.");
    const FolderArtwork artwork = chosenArtwork(engine, o);
    if (!o.render) return ArtworkCommands::setFolderArtwork(engine, o.project, artwork);
    if (!isFolderIconSize(o.size))
        throw KeloError::unsafe("An icon is rendered at 512, 256, 128, 64 or 32 pixels. Nothing was written.");
    RenderedIcon icon = renderFolderIcon(artwork, o.size);
    ArtworkChoices::writeNewFile(*o.render, icon.png);
    icon.messages.push_back("Wrote the folder icon of " + engine.findProject(o.project).name + " (" +
                            std::to_string(o.size) + " px) to " + *o.render + ".");
    return engine.snapshot(std::move(icon.messages));
}

}  // namespace

void addArtworkCommands(CLI::App& app, Commands& commands) {
    auto o = std::make_shared<ArtworkOptions>();
    auto* artwork = app.add_subcommand(
        "artwork", "Give a project's folder its own icon (colour, symbol, skin, stickers, your image), or render it");
    artwork->require_subcommand(0, 1);
    artwork->add_option("PROJECT", o->project, "The project's name or id");
    artwork->add_option("--color", o->color, "The folder's colour")->option_text("C");
    artwork->add_option("--symbol", o->symbol, "The symbol on the folder")->option_text("S");
    artwork->add_option("--skin", o->skin, "The folder's style: classic, flat, rounded, outline")->option_text("K");
    artwork
        ->add_option("--sticker", o->stickers,
                     "A sticker, as symbol=NAME or text=TEXT with x=,y=,scale=,rotation=,color= "
                     "(repeat for more; replaces the stickers)")
        ->option_text("KEY=VALUE,...");
    artwork->add_option("--image", o->image, "Your own image on the folder")->option_text("FILE");
    artwork->add_flag("--full", o->full, "Let the image cover the whole icon");
    artwork->add_option("--render", o->render, "Only write the icon as a new PNG file")->option_text("OUT.png");
    artwork->add_option("--size", o->size, "The rendered icon's edge: 512, 256, 128, 64 or 32")->option_text("N");
    commands.push_back({artwork, [o](Engine& engine) { return runArtwork(engine, *o); }, printMessages});

    auto project = std::make_shared<std::string>();
    auto* reset = artwork->add_subcommand("reset", "Take Kelo's icon off a project's folder");
    reset->add_option("PROJECT", *project, "The project's name or id")->required();
    commands.push_back({reset,
                        [project](Engine& engine) { return ArtworkCommands::resetFolderArtwork(engine, *project); },
                        printMessages});
}

}  // namespace kelo::cli
