#include "engine/learning_commands.h"

#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/output_more.h"

namespace kelo::cli {

namespace {

void addFeedbackCommand(CLI::App& app, Commands& commands) {
    auto file = std::make_shared<std::string>();
    auto confirm = std::make_shared<std::string>();
    auto reject = std::make_shared<std::string>();
    auto* feedback = app.add_subcommand("feedback", "Tell Kelo whether a file belongs to a project, without moving it");
    feedback->add_option("FILE", *file, "A file in an inbox")->required();
    auto* confirmOption =
        feedback->add_option("--confirm", *confirm, "The file belongs to this project")->option_text("PROJECT");
    auto* rejectOption =
        feedback->add_option("--reject", *reject, "The file does not belong to this project")->option_text("PROJECT");
    confirmOption->excludes(rejectOption);
    feedback->callback([confirm, reject] {
        if (confirm->empty() && reject->empty())
            throw CLI::ValidationError("feedback", "give --confirm PROJECT or --reject PROJECT");
    });
    commands.push_back({feedback,
                        [file, confirm, reject](Engine& engine) {
                            return confirm->empty() ? LearningCommands::feedback(engine, *file, *reject, false)
                                                    : LearningCommands::feedback(engine, *file, *confirm, true);
                        },
                        printInbox});
}

void addIgnoreCommands(CLI::App& app, Commands& commands) {
    auto file = std::make_shared<std::string>();
    auto* ignore = app.add_subcommand("ignore", "Leave a file alone until it changes");
    ignore->add_option("FILE", *file, "A file in an inbox")->required();
    commands.push_back(
        {ignore, [file](Engine& engine) { return LearningCommands::leaveAlone(engine, *file); }, printMessages});

    auto token = std::make_shared<std::string>();
    auto* cluster = app.add_subcommand("ignore-cluster", "Stop suggesting a new project for files sharing a word");
    cluster->add_option("TOKEN", *token, "The shared word, as `kelo suggestions` lists it")->required();
    commands.push_back(
        {cluster, [token](Engine& engine) { return LearningCommands::ignoreCluster(engine, *token); }, printMessages});

    auto* restore = app.add_subcommand("restore-ignored", "Offer every ignored file and cluster again");
    commands.push_back(
        {restore, [](Engine& engine) { return LearningCommands::restoreIgnored(engine); }, printMessages});
}

void addLearningGroup(CLI::App& app, Commands& commands) {
    auto* learning = app.add_subcommand("learning", "What Kelo learned from your decisions");
    learning->require_subcommand(1);

    auto* list = learning->add_subcommand("list", "List the recorded decisions with their ids");
    commands.push_back({list, nullptr, printFeedback});

    auto* reset = learning->add_subcommand("reset", "Forget everything learned");
    commands.push_back({reset, [](Engine& engine) { return LearningCommands::resetLearning(engine); }, printMessages});

    auto id = std::make_shared<std::string>();
    auto* reverse = learning->add_subcommand("reverse", "Take back one decision");
    reverse->add_option("ID", *id, "The decision's id (see learning list)")->required();
    commands.push_back(
        {reverse, [id](Engine& engine) { return LearningCommands::reverseFeedback(engine, *id); }, printFeedback});
}

}  // namespace

void addLearningCommands(CLI::App& app, Commands& commands) {
    addFeedbackCommand(app, commands);
    addIgnoreCommands(app, commands);
    addLearningGroup(app, commands);
}

}  // namespace kelo::cli
