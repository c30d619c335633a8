#include "engine/trash_commands.h"

#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

// Only trashing: putting a file back needs the engine that trashed it, and the
// command's engine stops when it has printed (the file stays in the desktop's Trash,
// where the file manager can restore it).
void addTrashCommands(CLI::App& app, Commands& commands) {
    auto file = std::make_shared<std::string>();
    auto* trash = app.add_subcommand("trash", "Move an inbox file to the Trash");
    trash->add_option("FILE", *file, "A file in an inbox")->required();
    commands.push_back(
        {trash, [file](Engine& engine) { return TrashCommands::trashFile(engine, *file); }, printMessages});
}

}  // namespace kelo::cli
