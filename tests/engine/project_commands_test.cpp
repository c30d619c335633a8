// Project, Studio and folder-artwork commands through the engine, on real temporary
// folders: new projects and their folders, aliases, archiving, trashing a job folder
// and name suggestions; the Studio's workspace, references and filters; the artwork
// fields, what is written beside the project and what reset takes away; each with
// what a restarted engine reads back. The folder rules themselves are the operations
// layer's tests. GIO metadata is covered against a real gvfsd-metadata in
// tests/artwork; here GIO is kept to its local backend so no test reaches a desktop
// session's daemon.
#include "engine/project_commands.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "engine/artwork_commands.h"
#include "engine/learning_commands.h"
#include "engine/studio_commands.h"
#include "preview/thumbnailer.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;
using Messages = std::vector<std::string>;

const bool kLocalGio = ::setenv("GIO_USE_VFS", "local", 1) == 0;

class ProjectCommandsTest : public testing::EngineFixture {
protected:
    const fs::path lotusFolder = home / "Lotus Spa";

    void SetUp() override {
        ASSERT_TRUE(kLocalGio);
        makeFolders({"Hydro Cafe", "Lotus Spa/Export"});
    }
    static const Project& lotus(const Engine& engine) { return *projectNamed(engine.state(), "Lotus Spa"); }
};

TEST_F(ProjectCommandsTest, NewProjectMakesItsFoldersEvenUnderDryRunAndRefusesWhatItCannotMake) {
    auto engine = start();
    engine->addGrant(inbox, FolderGrant::Role::watch);
    EXPECT_EQ(refusal([&] { ProjectCommands::newProject(*engine, "Moon"); }),
              "Approve a project home first. No project was created.");
    engine->addGrant(home, FolderGrant::Role::projectHome);
    ASSERT_TRUE(engine->state().settings.dryRun);  // a new state starts in dry run

    const SnapshotPtr snapshot = ProjectCommands::newProject(*engine, "  Moon Bakery ");
    const fs::path folder = home / "Moon Bakery";
    EXPECT_TRUE(fs::is_directory(folder / "Reference"));
    const Project* project = projectNamed(*snapshot->state, "Moon Bakery");
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(project->destinationFolder, folder);
    EXPECT_EQ(snapshot->messages, Messages{"Created the project Moon Bakery at " + folder.string() + "."});
    // A later scan does not discover the folder a second time.
    const Uuid id = project->id;
    const SnapshotPtr again = engine->scan();
    EXPECT_EQ(projectNamed(*again->state, "Moon Bakery")->id, id);
    EXPECT_EQ(again->state->projects.size(), 3u);

    writeFile(home / "Notes", "a file where the folder would go");
    const std::pair<const char*, std::string> refused[] = {
        {"hydro café", "A project called Hydro Cafe already exists. No project was created."},
        {"a:b", "\"a:b\" cannot be a folder name. No project was created."},
        {"   ", "\"\" cannot be a folder name. No project was created."},
        {"Notes", (home / "Notes").string() + " already exists. No project was created."},
    };
    for (const auto& [name, text] : refused)
        EXPECT_EQ(refusal([&] { ProjectCommands::newProject(*engine, name); }), text);
    EXPECT_EQ(readFile(home / "Notes"), "a file where the folder would go");
    EXPECT_EQ(engine->state().projects.size(), 3u);
}

TEST_F(ProjectCommandsTest, AliasesAndArchivingChangeWhatMatches) {
    writeFile(inbox / "mimosa menu.psd", "psd");
    writeFile(inbox / "hydro cafe post.psd", "psd");
    auto engine = startWithFolders();
    const auto top = [](const SnapshotPtr& s) { return classificationNamed(*s, "mimosa menu.psd").candidates.front(); };
    EXPECT_EQ(top(engine->snapshot()).score, 0);

    const SnapshotPtr added = ProjectCommands::addAlias(*engine, "hydro cafe", "Mimosa");
    EXPECT_EQ(added->messages, Messages{"Added the alias Mimosa to Hydro Cafe."});
    EXPECT_EQ(top(added).projectID, projectNamed(*added->state, "Hydro Cafe")->id);

    EXPECT_EQ(refusal([&] { ProjectCommands::addAlias(*engine, "Lotus Spa", "MIMOSA"); }),
              "Mimosa already names the project Hydro Cafe. Nothing changed.");
    EXPECT_EQ(refusal([&] { ProjectCommands::addAlias(*engine, "Lotus Spa", "hydro cafe"); }),
              "A project called Hydro Cafe already exists. Nothing changed.");
    EXPECT_EQ(refusal([&] { ProjectCommands::removeAlias(*engine, "Lotus Spa", "Mimosa"); }),
              "Mimosa is not an alias of Lotus Spa. Nothing changed.");
    const SnapshotPtr removed = ProjectCommands::removeAlias(*engine, "Hydro Cafe", "mimosa");
    EXPECT_TRUE(projectNamed(*removed->state, "Hydro Cafe")->aliases.empty());
    EXPECT_EQ(top(removed).score, 0);

    // Archiving keeps a confirmed file from being Ready.
    LearningCommands::feedback(*engine, inbox / "hydro cafe post.psd", "Hydro Cafe", true);
    const auto state = [](const SnapshotPtr& s) { return classificationNamed(*s, "hydro cafe post.psd").state; };
    ASSERT_EQ(state(engine->snapshot()), ConfidenceState::ready);

    const SnapshotPtr archived = ProjectCommands::archiveProject(*engine, "Hydro Cafe");
    EXPECT_EQ(projectNamed(*archived->state, "Hydro Cafe")->status, ProjectStatus::archived);
    EXPECT_EQ(state(archived), ConfidenceState::probably);
    EXPECT_EQ(refusal([&] { ProjectCommands::archiveProject(*engine, "Hydro Cafe"); }),
              "Hydro Cafe is already archived. Nothing changed.");

    EXPECT_EQ(state(ProjectCommands::reopenProject(*engine, "Hydro Cafe")), ConfidenceState::ready);
    EXPECT_EQ(refusal([&] { ProjectCommands::reopenProject(*engine, "Lotus Spa"); }),
              "Lotus Spa is not archived. Nothing changed.");
}

TEST_F(ProjectCommandsTest, TrashProjectMovesTheJobFolderAndForgetsTheProject) {
    writeFile(lotusFolder / "Export" / "logo.png", "png");
    writeFile(inbox / "spa flyer.pdf", "pdf");
    auto engine = startWithFolders();
    LearningCommands::feedback(*engine, inbox / "spa flyer.pdf", "Lotus Spa", true);

    const SnapshotPtr simulated = ProjectCommands::trashProject(*engine, "Lotus Spa");
    EXPECT_EQ(simulated->messages, Messages{"Would move the folder of Lotus Spa (" + lotusFolder.string() +
                                            ") to the Trash. " + std::string(kDryRunMessage)});
    EXPECT_TRUE(fs::exists(lotusFolder / "Export" / "logo.png"));

    // The folder rules are checked before anything moves.
    setDryRun(*engine, false);
    AppState next = engine->state();
    next.projects.push_back(Project::make("Root", home));
    engine->commitState(next);
    EXPECT_EQ(refusal([&] { ProjectCommands::trashProject(*engine, "Root"); }),
              "Chỉ xóa thư mục job trực tiếp trong thư mục dự án đã cấp quyền; không xóa thư mục gốc.");
    EXPECT_FALSE(fs::exists(trashHome / "Trash" / "files"));

    const SnapshotPtr trashed = ProjectCommands::trashProject(*engine, "Lotus Spa");
    const fs::path inTrash = trashHome / "Trash" / "files" / "Lotus Spa";
    EXPECT_FALSE(fs::exists(lotusFolder));
    EXPECT_EQ(readFile(inTrash / "Export" / "logo.png"), "png");
    EXPECT_EQ(trashed->messages.at(0), "Moved the folder of Lotus Spa to the Trash: " + inTrash.string());
    EXPECT_EQ(projectNamed(*trashed->state, "Lotus Spa"), nullptr);
    EXPECT_TRUE(trashed->state->assignments.empty());
    engine->scan();  // the folder is gone: not discovered again
    EXPECT_EQ(projectNamed(engine->state(), "Lotus Spa"), nullptr);
}

TEST_F(ProjectCommandsTest, DeferredSuggestionsStayDeferredAfterARestartAndAcceptedOnesBecomeProjects) {
    for (const char* name :
         {"mango menu.pdf", "mango card.png", "mango logo.ai", "kiwi a1.pdf", "kiwi b2.pdf", "kiwi c3.pdf"})
        writeFile(inbox / name, "x");
    auto engine = startWithFolders();
    auto tokens = [](const SnapshotPtr& snapshot) {
        std::vector<std::string> out;
        for (const auto& s : *snapshot->nameSuggestions) out.push_back(s.token);
        return out;
    };
    ASSERT_EQ(tokens(engine->snapshot()), (Messages{"kiwi", "mango"}));
    EXPECT_EQ(tokens(ProjectCommands::deferNameSuggestion(*engine, "Mango")), Messages{"kiwi"});
    EXPECT_EQ(refusal([&] { ProjectCommands::deferNameSuggestion(*engine, "mango"); }),
              "No project name is suggested for mango. Nothing changed.");

    engine.reset();
    engine = start();
    EXPECT_EQ(tokens(engine->scan()), Messages{"kiwi"});
    const SnapshotPtr accepted = ProjectCommands::acceptNameSuggestion(*engine, "kiwi");
    const Project* kiwi = projectNamed(*accepted->state, "Kiwi");
    ASSERT_NE(kiwi, nullptr);
    EXPECT_TRUE(fs::is_directory(home / "Kiwi" / "Working"));
    EXPECT_TRUE(tokens(accepted).empty());
    EXPECT_EQ(classificationNamed(*accepted, "kiwi a1.pdf").candidates.front().projectID, kiwi->id);
    EXPECT_EQ(refusal([&] { ProjectCommands::acceptNameSuggestion(*engine, "papaya"); }),
              "No project name is suggested for papaya. No project was created.");
}

TEST_F(ProjectCommandsTest, OpenStudioReadsTheProjectAndNamesALinkWithoutFollowingIt) {
    auto engine = startWithFolders();
    writeFile(lotusFolder / "Export/Lotus Spa poster.png", "png");
    const SnapshotPtr opened = StudioCommands::openStudio(*engine, "lotus spa");
    ASSERT_TRUE(opened->inventory && opened->studioBoard);
    EXPECT_EQ(opened->inventoryProject, projectNamed(*opened->state, "Lotus Spa")->id);
    ASSERT_EQ(opened->inventory->files.size(), 1u);
    EXPECT_EQ(opened->inventory->files[0].categoryFolder, "Export");

    writeFile(dir / "outside/secret.pdf", "secret");
    fs::create_symlink(dir / "outside", home / "Hydro Cafe/Assets");
    EXPECT_EQ(refusal([&] { StudioCommands::openStudio(*engine, "Hydro Cafe"); }),
              "Unsupported project entry: " + (home / "Hydro Cafe/Assets").string());
    // The refused project did not replace the one open.
    EXPECT_EQ(engine->snapshot()->inventory, opened->inventory);
}

// Keys of later features in the workspace document survive each save too (what
// start-up refuses is the stores' own test).
TEST_F(ProjectCommandsTest, StudioReferencesAreSavedFirstShownMissingWhenGoneAndSurviveARestart) {
    writeFile(data / "studio.json", "{\"schemaVersion\": 1, \"boards\": [\"kept\"]}");
    writeFile(inbox / "moodboard.jpg", "jpg");
    writeFile(lotusFolder / "Export/logo.png", "png");
    writeFile(dir / "elsewhere.png", "png");
    auto engine = startWithFolders();
    StudioCommands::openStudio(*engine, "Lotus Spa");
    const auto before = engine->snapshot()->classifications;

    StudioCommands::pinReference(*engine, lotusFolder / "Export/logo.png");
    const SnapshotPtr pinned = StudioCommands::pinReference(*engine, inbox / "moodboard.jpg");  // the last-opened
    EXPECT_TRUE(hasMessage(*pinned, "Pinned moodboard.jpg to Lotus Spa."));
    EXPECT_NE(pinned->classifications, before);  // the cache was cleared
    ASSERT_EQ(pinned->studioBoard->references.size(), 2u);
    EXPECT_NE(readFile(data / "studio.json").find("moodboard.jpg"), std::string::npos);
    EXPECT_NE(readFile(data / "studio.json").find("\"kept\""), std::string::npos);
    EXPECT_EQ(engine->studio().workspace["boards"][0], "kept");
    EXPECT_EQ(refusal([&] { StudioCommands::pinReference(*engine, dir / "elsewhere.png"); }),
              "elsewhere.png is not a file in an approved inbox. Nothing changed.");

    // Gone, then another file at the same path: both missing. The old logo is moved
    // aside, not removed, so that the new one cannot be given its freed inode.
    fs::remove(inbox / "moodboard.jpg");
    fs::rename(lotusFolder / "Export/logo.png", dir / "old logo.png");
    writeFile(lotusFolder / "Export/logo.png", "a new logo");
    const auto board = StudioCommands::openStudio(*engine, "Lotus Spa")->studioBoard;
    EXPECT_TRUE(board->references[0].missing && board->references[1].missing);

    StudioFilter recent;
    recent.name = "Tuần này";
    recent.days = 7;
    StudioCommands::saveFilter(*engine, "Lotus Spa", recent);
    StudioFilter backwards = recent;
    backwards.days = -1;
    EXPECT_EQ(refusal([&] { StudioCommands::saveFilter(*engine, "Lotus Spa", backwards); }),
              "A filter's days must be between 0 and 36500. Nothing changed.");
    StudioCommands::unpinReference(*engine, inbox / "moodboard.jpg");
    EXPECT_EQ(refusal([&] { StudioCommands::unpinReference(*engine, inbox / "moodboard.jpg"); }),
              (inbox / "moodboard.jpg").string() + " is not pinned. Nothing changed.");

    engine.reset();
    auto restarted = start();
    const auto again = StudioCommands::openStudio(*restarted, "Lotus Spa")->studioBoard;
    ASSERT_EQ(again->references.size(), 1u);
    EXPECT_EQ(again->references[0].reference.path, lotusFolder / "Export/logo.png");
    EXPECT_EQ(again->filters, std::vector<StudioFilter>{recent});
    StudioCommands::deleteFilter(*restarted, "Lotus Spa", "Tuần này");
    EXPECT_TRUE(restarted->snapshot()->studioBoard->filters.empty());
}

TEST_F(ProjectCommandsTest, StudioRenamesAndSortsProjectFilesThroughJournaledPlans) {
    writeFile(lotusFolder / "IMG_01.png", "png");
    writeFile(lotusFolder / "Export/draft.pdf", "pdf");
    writeFile(inbox / "loose.png", "png");
    auto engine = startWithFolders(false);
    EXPECT_EQ(refusal([&] { StudioCommands::renameProjectFile(*engine, lotusFolder / "IMG_01.png", "x.png"); }),
              "Open a project in the Studio first. Nothing changed.");
    StudioCommands::openStudio(*engine, "Lotus Spa");
    EXPECT_EQ(refusal([&] { StudioCommands::renameProjectFile(*engine, inbox / "loose.png", "x.png"); }),
              "loose.png is not a file of Lotus Spa. File left untouched.");

    StudioCommands::renameProjectFile(*engine, lotusFolder / "Export/draft.pdf", "Lotus Spa brief.pdf");
    const SnapshotPtr sorted = StudioCommands::sortProjectFile(*engine, lotusFolder / "IMG_01.png", Category::assets);
    EXPECT_EQ(readFile(lotusFolder / "Export/Lotus Spa brief.pdf"), "pdf");
    EXPECT_EQ(readFile(lotusFolder / "Assets/IMG_01.png"), "png");
    std::vector<std::string> paths;
    for (const auto& file : sorted->inventory->files) paths.push_back(file.relativePath.string());
    EXPECT_EQ(paths, (std::vector<std::string>{"Assets/IMG_01.png", "Export/Lotus Spa brief.pdf"}));
    ASSERT_EQ(sorted->history->size(), 2u);
    EXPECT_TRUE(sorted->history->front().canUndo);
}

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

TEST_F(ProjectCommandsTest, EveryArtworkFieldSurvivesCommandsAndRestartsByteForByte) {
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
TEST_F(ProjectCommandsTest, ArtworkApplyAndResetTouchOnlyWhatKeloWrote) {
    auto engine = startWithFolders();
    const fs::path directoryFile = lotusFolder / ".directory";
    FolderArtwork artwork;
    artwork.folderColor = "green";
    const auto apply = [&] { return ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", artwork); };
    const auto reset = [&] { return ArtworkCommands::resetFolderArtwork(*engine, "Lotus Spa"); };
    apply();
    const fs::path icon = data / "Folder icons" / (lotus(*engine).id.text() + ".png");
    const auto firstIcon = readFile(icon);
    ASSERT_EQ(decodeImage(firstIcon, 1024).value().width, 512);
    const std::string directory = readFile(directoryFile);
    EXPECT_EQ(directory, "[Desktop Entry]\nIcon=" + icon.string() + "\n");
    EXPECT_EQ(ArtworkCommands::loadFolderIconLedger(*engine).applied.at(lotus(*engine).id.text()).folder, lotusFolder);

    // A new colour redraws the icon; Kelo's own .directory already points at it.
    artwork.folderColor = "red";
    apply();
    EXPECT_NE(readFile(icon), firstIcon);
    EXPECT_EQ(readFile(directoryFile), directory);

    EXPECT_TRUE(hasMessage(*reset(), "Removed " + directoryFile.string() + ", which Kelo created."));
    EXPECT_FALSE(fs::exists(directoryFile) || fs::exists(icon));
    EXPECT_TRUE(FolderArtwork::of(lotus(*engine)).empty());
    EXPECT_TRUE(ArtworkCommands::loadFolderIconLedger(*engine).applied.empty());
    EXPECT_EQ(refusal(reset), "Lotus Spa has no folder icon from Kelo. Nothing changed.");

    const std::string users = "[Desktop Entry]\nIcon=folder-red\n[Dolphin]\nViewMode=1\n";
    writeFile(directoryFile, users);
    EXPECT_TRUE(hasMessage(*apply(), directoryFile.string() +
                                         " already exists and was left as it is, so Dolphin keeps the icon it names."));
    reset();
    EXPECT_EQ(readFile(directoryFile), users);

    fs::remove(directoryFile);
    apply();
    const std::string edited = readFile(directoryFile) + "[Dolphin]\nSortOrder=1\n";
    fs::remove(directoryFile);  // a new file, as an editor saves it
    writeFile(directoryFile, edited);
    EXPECT_TRUE(
        hasMessage(*reset(), directoryFile.string() + " was changed since Kelo created it; it was left as it is."));
    EXPECT_EQ(readFile(directoryFile), edited);
}

TEST_F(ProjectCommandsTest, ArtworkOfAFolderMovedOutOfReachKeepsWhatKeloSetThere) {
    auto engine = startWithFolders();
    ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", FolderArtwork{});
    const std::string kelos = readFile(lotusFolder / ".directory");
    const fs::path outside = dir / "Lotus Spa (moved)", renamed = home / "Lotus";
    fs::rename(lotusFolder, outside);
    fs::create_directories(renamed);
    AppState next = engine->state();
    for (std::size_t i = 0; i < next.projects.size(); ++i)
        if (next.projects[i].name == "Lotus Spa") next.projects.edit(i).destinationFolder = renamed;
    engine->commitState(next);

    const SnapshotPtr snapshot = ArtworkCommands::setFolderArtwork(*engine, "Lotus Spa", FolderArtwork{});
    EXPECT_TRUE(hasMessage(*snapshot, "What Kelo set on " + lotusFolder.string() +
                                          " was left as it is: that folder is no longer approved or cannot be "
                                          "reached."));
    EXPECT_EQ(readFile(outside / ".directory"), kelos) << "the folder now outside is not touched";
    EXPECT_EQ(readFile(renamed / ".directory"), kelos) << "the project's folder now shows the same icon";
    EXPECT_EQ(ArtworkCommands::loadFolderIconLedger(*engine).applied.begin()->second.folder, renamed);
}

TEST_F(ProjectCommandsTest, ArtworkRefusalsChangeNothing) {
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
    const auto set = [&](const char* project) {
        return refusal([&] { ArtworkCommands::setFolderArtwork(*engine, project, artwork); });
    };
    const std::string outside =
        "The folder of Elsewhere (" + elsewhere.string() + ") is not inside an approved folder. Nothing changed.";
    EXPECT_EQ(set("Elsewhere"), outside);
    EXPECT_EQ(refusal([&] { ArtworkCommands::resetFolderArtwork(*engine, "Elsewhere"); }), outside);
    EXPECT_EQ(set("Linked"), "Symbolic links are outside Kelo's safe operation scope: " + (home / "Linked").string());
    artwork.folderStickers = Json::object();
    EXPECT_EQ(set("Lotus Spa"), "Stickers must be a list. Nothing changed.");
    artwork.folderStickers.reset();
    artwork.customSkinData = Bytes(ArtworkCommands::kMaxCustomImageBytes + 1, 0);
    EXPECT_EQ(set("Lotus Spa"), "The custom image is larger than 16 MB. Nothing changed.");
    EXPECT_EQ(engine->state(), before);
    for (const fs::path& untouched :
         {elsewhere / ".directory", dir / "Target" / ".directory", lotusFolder / ".directory", data / "Folder icons"})
        EXPECT_FALSE(fs::exists(untouched)) << untouched;
}

}  // namespace
}  // namespace kelo
