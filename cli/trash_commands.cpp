#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

void addTrashCommands(CLI::App& /*app*/, Commands& /*commands*/) {}

}  // namespace kelo::cli
