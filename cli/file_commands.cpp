#include <memory>

#include "cli/command.h"
#include "cli/output.h"
#include "engine/file_commands.h"

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
    commands.push_back({renameCommand,
                        [rename](Engine& engine) {
                            return FileCommands::renameFile(engine, rename->first, rename->second);
                        },
                        printRun});

    auto group = std::make_shared<std::pair<std::string, std::vector<std::string>>>();
    auto* groupCommand = app.add_subcommand("group", "Move files into a new folder beside them");
    groupCommand->add_option("--into", group->first, "The new folder's name")->required();
    groupCommand->add_option("FILE", group->second, "Files in one folder")->required();
    commands.push_back({groupCommand,
                        [group](Engine& engine) {
                            std::vector<std::filesystem::path> files(group->second.begin(), group->second.end());
                            return FileCommands::groupFiles(engine, files, group->first);
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
