// Folder artwork end to end on real temporary folders: the seven fields through the
// commands, a restart and other commands; what is written beside the project and
// what reset takes away; refusals. GIO metadata is covered against a real
// gvfsd-metadata in tests/artwork; here GIO is kept to its local backend so no
// test reaches a desktop session's daemon.
#include "engine/artwork_commands.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "engine/project_commands.h"
#include "preview/thumbnailer.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

const bool kLocalGio = ::setenv("GIO_USE_VFS", "local", 1) == 0;

// Every artwork field set, with values and keys this version does not understand.
FolderArtwork unusualArtwork() {
    FolderArtwork artwork;
    artwork.folderColor = "ultraviolet";
    artwork.folderSymbol = "star";
    artwork.folderArtwork = parseDocument(
        R"({"layout": 2, "symbol": {"x": 0.30000000000000004, "y": 0.6, "scale": 1e-1, "glow": true},
            "futureKey": [1, "a", {"z": 18446744073709551615}]})");
    artwork.folderArtworkFull = true;
    artwork.folderStickers = parseDocument(
        R"([{"kind": "text", "value": "Đẹp", "x": 0.7, "y": 0.25, "scale": 0.3, "rotation": -15, "font": "Future"},
            "heart", {"kind": "hologram", "value": "x"}])");
    artwork.folderSkin = "velvet";
    artwork.customSkinData = Bytes{0x89, 'P', 'N', 'G', 0, 1, 2, 255};
    return artwork;
}

// The artwork fields as the state file holds them.
std::string storedFields(const Project& project) {
    Json json;
    to_json(json, project);
    for (const char* key : {"id", "name", "destinationFolder", "aliases", "status", "createdAt", "lastActivity"})
        json.erase(key);
    return formatDocument(json);
}

class ArtworkCommandsTest : public testing::EngineFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(kLocalGio);
        makeFolders({"Lotus Spa"});
    }
    fs::path folder() const { return home / "Lotus Spa"; }
    const Project& lotus(const Engine& engine) const { return *projectNamed(engine.state(), "Lotus Spa"); }
    fs::path iconFile(const Engine& engine) const { return data / "Folder icons" / (lotus(engine).id.text() + ".png"); }
};

TEST_F(ArtworkCommandsTest, EveryFieldSurvivesCommandsAndRestartsByteForByte) {
    auto engine = startWithFolders();
    const FolderArtwork artwork = unusualArtwork();
    const SnapshotPtr snapshot = ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork);
    EXPECT_EQ(FolderArtwork::of(lotus(*engine)), artwork);
    // What could not be drawn is named, but nothing the user chose is dropped.
    EXPECT_TRUE(hasMessage(*snapshot, "Left out a sticker of the unknown kind \"hologram\"."));
    const std::string stored = storedFields(lotus(*engine));
    EXPECT_NE(stored.find("18446744073709551615"), std::string::npos);

    ProjectCommands::addAlias(*engine, "Lotus Spa", "LS");
    ProjectCommands::archiveProject(*engine, "Lotus Spa");
    ProjectCommands::reopenProject(*engine, "Lotus Spa");
    engine.reset();
    engine = start();
    engine->scan();
    EXPECT_EQ(storedFields(lotus(*engine)), stored);
    // Setting the same fields again changes none of them.
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", FolderArtwork::of(lotus(*engine)));
    EXPECT_EQ(storedFields(lotus(*engine)), stored);
}

// Kelo's own ".directory" and icon come and go with the artwork; a ".directory" the
// user wrote, or changed after Kelo wrote it, is theirs and is left byte for byte.
TEST_F(ArtworkCommandsTest, ApplyAndResetTouchOnlyWhatKeloWrote) {
    auto engine = startWithFolders();
    FolderArtwork artwork;
    artwork.folderColor = "green";
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork);
    const fs::path icon = iconFile(*engine);
    const auto firstIcon = readFile(icon);
    ASSERT_EQ(decodeImage(firstIcon, 1024).value().width, 512);
    const std::string directory = readFile(folder() / ".directory");
    EXPECT_EQ(directory, "[Desktop Entry]\nIcon=" + icon.string() + "\n");
    EXPECT_EQ(ArtworkCommands::loadFolderIconLedger(*engine).applied.at(lotus(*engine).id.text()).folder, folder());

    // A new colour redraws the icon; Kelo's own .directory already points at it.
    artwork.folderColor = "red";
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork);
    EXPECT_NE(readFile(icon), firstIcon);
    EXPECT_EQ(readFile(folder() / ".directory"), directory);

    const SnapshotPtr reset = ArtworkCommands::resetFolderArtwork(*engine, "Lotus Spa");
    EXPECT_TRUE(hasMessage(*reset, "Removed " + (folder() / ".directory").string() + ", which Kelo created."));
    EXPECT_FALSE(fs::exists(folder() / ".directory") || fs::exists(icon));
    EXPECT_TRUE(FolderArtwork::of(lotus(*engine)).empty());
    EXPECT_TRUE(ArtworkCommands::loadFolderIconLedger(*engine).applied.empty());
    EXPECT_EQ(refusal([&] { ArtworkCommands::resetFolderArtwork(*engine, "Lotus Spa"); }),
              "Lotus Spa has no folder icon from Kelo. Nothing changed.");

    const std::string users = "[Desktop Entry]\nIcon=folder-red\n[Dolphin]\nViewMode=1\n";
    writeFile(folder() / ".directory", users);
    EXPECT_TRUE(hasMessage(*ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork),
                           (folder() / ".directory").string() +
                               " already exists and was left as it is, so Dolphin keeps the icon it names."));
    ArtworkCommands::resetFolderArtwork(*engine, "Lotus Spa");
    EXPECT_EQ(readFile(folder() / ".directory"), users);

    fs::remove(folder() / ".directory");
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork);
    const std::string edited = readFile(folder() / ".directory") + "[Dolphin]\nSortOrder=1\n";
    fs::remove(folder() / ".directory");  // a new file, as an editor saves it
    writeFile(folder() / ".directory", edited);
    EXPECT_TRUE(
        hasMessage(*ArtworkCommands::resetFolderArtwork(*engine, "Lotus Spa"),
                   (folder() / ".directory").string() + " was changed since Kelo created it; it was left as it is."));
    EXPECT_EQ(readFile(folder() / ".directory"), edited);
}

TEST_F(ArtworkCommandsTest, FolderMovedOutOfReachKeepsWhatKeloSetThere) {
    auto engine = startWithFolders();
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", FolderArtwork{});
    const std::string kelos = readFile(folder() / ".directory");
    const fs::path outside = dir / "Lotus Spa (moved)";
    fs::rename(folder(), outside);
    const fs::path renamed = home / "Lotus";
    fs::create_directories(renamed);
    AppState next = engine->state();
    next.projects.edit(0).destinationFolder = renamed;
    engine->commitState(next);

    const SnapshotPtr snapshot = ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", FolderArtwork{});
    EXPECT_TRUE(hasMessage(*snapshot, "What Kelo set on " + folder().string() +
                                          " was left as it is: that folder is no longer approved or cannot be "
                                          "reached."));
    EXPECT_EQ(readFile(outside / ".directory"), kelos) << "the folder now outside is not touched";
    EXPECT_EQ(readFile(renamed / ".directory"), kelos) << "the project's folder now shows the same icon";
    EXPECT_EQ(ArtworkCommands::loadFolderIconLedger(*engine).applied.begin()->second.folder, renamed);
}

TEST_F(ArtworkCommandsTest, RefusalsChangeNothing) {
    auto engine = startWithFolders();
    const fs::path elsewhere = dir / "Elsewhere";
    fs::create_directories(elsewhere);
    AppState next = engine->state();
    next.projects.push_back(Project::make("Elsewhere", elsewhere));
    next.projects.edit(next.projects.size() - 1).folderColor = "teal";
    fs::create_directories(dir / "Target");
    fs::create_directory_symlink(dir / "Target", home / "Linked");
    next.projects.push_back(Project::make("Linked", home / "Linked"));
    engine->commitState(next);
    const AppState before = engine->state();

    FolderArtwork artwork;
    artwork.folderColor = "pink";
    const auto set = [&](const char* project) { ArtworkCommands::setFolderArtwork(*engine, project, artwork); };
    const std::string outside =
        "The folder of Elsewhere (" + elsewhere.string() + ") is not inside an approved folder. Nothing changed.";
    EXPECT_EQ(refusal([&] { set("Elsewhere"); }), outside);
    EXPECT_EQ(refusal([&] { ArtworkCommands::resetFolderArtwork(*engine, "Elsewhere"); }), outside);
    EXPECT_EQ(refusal([&] { set("Linked"); }),
              "Symbolic links are outside Kelo's safe operation scope: " + (home / "Linked").string());
    artwork.folderStickers = Json::object();
    EXPECT_EQ(refusal([&] { set("Lotus Spa"); }), "Stickers must be a list. Nothing changed.");
    artwork.folderStickers.reset();
    artwork.customSkinData = Bytes(ArtworkCommands::kMaxCustomImageBytes + 1, 0);
    EXPECT_EQ(refusal([&] { set("Lotus Spa"); }), "The custom image is larger than 16 MB. Nothing changed.");
    EXPECT_EQ(engine->state(), before);
    for (const fs::path& untouched :
         {elsewhere / ".directory", dir / "Target" / ".directory", folder() / ".directory", data / "Folder icons"})
        EXPECT_FALSE(fs::exists(untouched)) << untouched;
}

}  // namespace
}  // namespace kelo
