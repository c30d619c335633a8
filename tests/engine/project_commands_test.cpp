// Project commands through the engine: new projects and their folders, aliases,
// archiving, trashing a job folder and name suggestions, checking the disk and the
// snapshot. The folder rules themselves are the operations layer's tests.
#include "engine/project_commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/learning_commands.h"
#include "model/kelo_error.h"
#include "operations/operation_executor.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

class ProjectCommandsTest : public testing::EngineFixture {
protected:
    void SetUp() override { makeFolders({"Hydro Cafe", "Lotus Spa/Export"}); }
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
    EXPECT_EQ(snapshot->messages,
              (std::vector<std::string>{"Created the project Moon Bakery at " + folder.string() + "."}));
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

TEST_F(ProjectCommandsTest, AliasesChangeWhatMatches) {
    writeFile(inbox / "mimosa menu.psd", "psd");
    auto engine = startWithFolders();
    EXPECT_EQ(classificationNamed(*engine->snapshot(), "mimosa menu.psd").candidates.front().score, 0);

    const SnapshotPtr added = ProjectCommands::addAlias(*engine, "hydro cafe", "Mimosa");
    EXPECT_EQ(added->messages, (std::vector<std::string>{"Added the alias Mimosa to Hydro Cafe."}));
    const auto& after = classificationNamed(*added, "mimosa menu.psd");
    EXPECT_EQ(after.candidates.front().projectID, projectNamed(*added->state, "Hydro Cafe")->id);

    EXPECT_EQ(refusal([&] { ProjectCommands::addAlias(*engine, "Lotus Spa", "MIMOSA"); }),
              "Mimosa already names the project Hydro Cafe. Nothing changed.");
    EXPECT_EQ(refusal([&] { ProjectCommands::addAlias(*engine, "Lotus Spa", "hydro cafe"); }),
              "A project called Hydro Cafe already exists. Nothing changed.");
    EXPECT_EQ(refusal([&] { ProjectCommands::removeAlias(*engine, "Lotus Spa", "Mimosa"); }),
              "Mimosa is not an alias of Lotus Spa. Nothing changed.");
    const SnapshotPtr removed = ProjectCommands::removeAlias(*engine, "Hydro Cafe", "mimosa");
    EXPECT_TRUE(projectNamed(*removed->state, "Hydro Cafe")->aliases.empty());
    EXPECT_EQ(classificationNamed(*removed, "mimosa menu.psd").candidates.front().score, 0);
}

TEST_F(ProjectCommandsTest, ArchiveKeepsAConfirmedFileFromBeingReady) {
    writeFile(inbox / "hydro cafe post.psd", "psd");
    auto engine = startWithFolders();
    LearningCommands::feedback(*engine, inbox / "hydro cafe post.psd", "Hydro Cafe", true);
    ASSERT_EQ(classificationNamed(*engine->snapshot(), "hydro cafe post.psd").state, ConfidenceState::ready);

    const SnapshotPtr archived = ProjectCommands::archiveProject(*engine, "Hydro Cafe");
    EXPECT_EQ(projectNamed(*archived->state, "Hydro Cafe")->status, ProjectStatus::archived);
    EXPECT_EQ(classificationNamed(*archived, "hydro cafe post.psd").state, ConfidenceState::probably);
    EXPECT_EQ(refusal([&] { ProjectCommands::archiveProject(*engine, "Hydro Cafe"); }),
              "Hydro Cafe is already archived. Nothing changed.");

    const SnapshotPtr reopened = ProjectCommands::reopenProject(*engine, "Hydro Cafe");
    EXPECT_EQ(classificationNamed(*reopened, "hydro cafe post.psd").state, ConfidenceState::ready);
    EXPECT_EQ(refusal([&] { ProjectCommands::reopenProject(*engine, "Lotus Spa"); }),
              "Lotus Spa is not archived. Nothing changed.");
}

TEST_F(ProjectCommandsTest, TrashProjectMovesTheJobFolderAndForgetsTheProject) {
    writeFile(home / "Lotus Spa" / "Export" / "logo.png", "png");
    writeFile(inbox / "spa flyer.pdf", "pdf");
    auto engine = startWithFolders();
    LearningCommands::feedback(*engine, inbox / "spa flyer.pdf", "Lotus Spa", true);

    const SnapshotPtr simulated = ProjectCommands::trashProject(*engine, "Lotus Spa");
    EXPECT_EQ(simulated->messages,
              (std::vector<std::string>{"Would move the folder of Lotus Spa (" + (home / "Lotus Spa").string() +
                                        ") to the Trash. " + std::string(kDryRunMessage)}));
    EXPECT_TRUE(fs::exists(home / "Lotus Spa" / "Export" / "logo.png"));

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
    EXPECT_FALSE(fs::exists(home / "Lotus Spa"));
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
    auto tokens = [](const Snapshot& snapshot) {
        std::vector<std::string> out;
        for (const auto& s : *snapshot.nameSuggestions) out.push_back(s.token);
        return out;
    };
    ASSERT_EQ(tokens(*engine->snapshot()), (std::vector<std::string>{"kiwi", "mango"}));
    EXPECT_EQ(tokens(*ProjectCommands::deferNameSuggestion(*engine, "Mango")), (std::vector<std::string>{"kiwi"}));
    EXPECT_EQ(refusal([&] { ProjectCommands::deferNameSuggestion(*engine, "mango"); }),
              "No project name is suggested for mango. Nothing changed.");

    engine.reset();
    engine = start();
    EXPECT_EQ(tokens(*engine->scan()), (std::vector<std::string>{"kiwi"}));
    const SnapshotPtr accepted = ProjectCommands::acceptNameSuggestion(*engine, "kiwi");
    const Project* kiwi = projectNamed(*accepted->state, "Kiwi");
    ASSERT_NE(kiwi, nullptr);
    EXPECT_TRUE(fs::is_directory(home / "Kiwi" / "Working"));
    EXPECT_TRUE(tokens(*accepted).empty());
    EXPECT_EQ(classificationNamed(*accepted, "kiwi a1.pdf").candidates.front().projectID, kiwi->id);
    EXPECT_EQ(refusal([&] { ProjectCommands::acceptNameSuggestion(*engine, "papaya"); }),
              "No project name is suggested for papaya. No project was created.");
}

}  // namespace
}  // namespace kelo
