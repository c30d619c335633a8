#include "engine/file_commands.h"

#include <memory>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

namespace {

struct PlaceArguments {
    std::string file, project, category, subfolder;

    std::optional<Category> chosenCategory() const {
        if (category.empty()) return std::nullopt;
        return enumFromRaw<Category>(category);
    }
    std::optional<std::string> chosenSubfolder() const {
        if (subfolder.empty()) return std::nullopt;
        return subfolder;
    }
};

void addPlaceOptions(CLI::App* command, PlaceArguments& args) {
    command->add_option("FILE", args.file, "A file in an approved inbox")->required();
    command->add_option("--project", args.project, "The project's name or id")->required();
    command->add_option("--category", args.category, "Working, Export, Assets or Reference")
        ->check(CLI::IsMember({"Working", "Export", "Assets", "Reference"}));
    command->add_option("--subfolder", args.subfolder, "A sub-folder of the category folder");
}

}  // namespace

void addFileCommands(CLI::App& app, Commands& commands) {
    auto sort = std::make_shared<PlaceArguments>();
    auto* sortCommand = app.add_subcommand("sort", "Move a file into a project");
    addPlaceOptions(sortCommand, *sort);
    commands.push_back({sortCommand,
                        [sort](Engine& engine) {
                            return FileCommands::sortFile(engine, sort->file, sort->project, sort->chosenCategory(),
                                                          sort->chosenSubfolder());
                        },
                        printRun});

    auto keep = std::make_shared<PlaceArguments>();
    auto* keepCommand =
        app.add_subcommand("keep-both", "After a name conflict: the same sort to a free \"name 2.ext\"");
    addPlaceOptions(keepCommand, *keep);
    commands.push_back({keepCommand,
                        [keep](Engine& engine) {
                            return FileCommands::keepBoth(engine, keep->file, keep->project, keep->chosenCategory(),
                                                          keep->chosenSubfolder());
                        },
                        printRun});

    auto* cleanCommand = app.add_subcommand("clean", "Move every Ready file into its suggested project");
    commands.push_back({cleanCommand, [](Engine& engine) { return FileCommands::clean(engine); }, printRun});

    auto rename = std::make_shared<std::pair<std::string, std::string>>();
    auto* renameCommand = app.add_subcommand("rename", "Rename a file in its folder (the extension stays)");
    renameCommand->add_option("FILE", rename->first, "A file in an approved inbox")->required();
    renameCommand->add_option("NEW_NAME", rename->second, "The new name, extension included")->required();
    commands.push_back(
        {renameCommand,
         [rename](Engine& engine) { return FileCommands::renameFile(engine, rename->first, rename->second); },
         printRun});

    struct GroupArguments {
        std::string into, project;
        std::vector<std::string> files;
    };
    auto group = std::make_shared<GroupArguments>();
    auto* groupCommand = app.add_subcommand("group", "Move files into a new folder, inside a project or beside them");
    groupCommand->add_option("--into", group->into, "The new folder's name")->required();
    groupCommand->add_option("--project", group->project, "Make the folder in this project (needed for inbox files)");
    groupCommand->add_option("FILE", group->files, "Inbox files, or files of one folder inside a project home");
    commands.push_back({groupCommand,
                        [group](Engine& engine) {
                            std::vector<std::filesystem::path> files(group->files.begin(), group->files.end());
                            std::optional<std::string> project;
                            if (!group->project.empty()) project = group->project;
                            return FileCommands::groupFiles(engine, files, group->into, project);
                        },
                        printRun});

    auto* historyCommand = app.add_subcommand("history", "What Kelo did, newest first, with undo ids");
    commands.push_back({historyCommand, nullptr, printHistory});

    auto batch = std::make_shared<std::string>();
    auto* undoCommand = app.add_subcommand("undo", "Put back what one batch from history moved or renamed");
    undoCommand->add_option("BATCH_ID", *batch, "The batch id (see kelo history)")->required();
    commands.push_back(
        {undoCommand, [batch](Engine& engine) { return FileCommands::undoBatch(engine, *batch); }, printRun});
}

}  // namespace kelo::cli
