#include "engine/handoff_commands.h"

namespace kelo::HandoffCommands {

namespace {

PrivateStorage privateStorage(Engine& engine) {
    return PrivateStorage(engine.data().temporaryStorage);
}

}  // namespace

ProjectInventory review(Engine& engine, const std::string& project) {
    return ProjectInventory::read(engine.findProject(project).destinationFolder);
}

SnapshotPtr createHandoff(Engine& engine, const std::string& project, const ProjectInventory& reviewed,
                          const std::filesystem::path& exportFolder, const HandoffProgress& progress,
                          std::stop_token stop) {
    const HandoffRequest request{engine.findProject(project).destinationFolder, reviewed, exportFolder};
    const HandoffContext context{engine.dataDirectory(),
                                 privateStorage(engine),
                                 [&engine] { return engine.now(); },
                                 progress,
                                 std::move(stop),
                                 {}};
    return engine.snapshot({kelo::createHandoff(request, context)});
}

PrivateStorageUsage storage(Engine& engine) {
    return privateStorage(engine).measure();
}

std::vector<std::string> settleHandoffs(Engine& engine) {
    try {
        return reconcileHandoffs(engine.dataDirectory(), privateStorage(engine), engine.now());
    } catch (const std::exception& error) {
        return {std::string("Handoff staging could not be settled: ") + error.what()};
    }
}

}  // namespace kelo::HandoffCommands
