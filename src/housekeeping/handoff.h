// Project handoff: packs one project folder into "<project>-handoff.zip" in an
// export folder without changing the project. The archive is built in a stage of
// the private storage, checked, and only then published by a journaled exclusive
// move through an OperationExecutor on "handoff-journal.json", so a crash during
// publication is settled at the next scan like any interrupted move. Handoffs are
// not part of the sorting history.
//
// Free functions; the engine calls them on its thread. Packing is the long part and
// reads only the project and writes only the stage; it reports progress and stops
// when asked.
#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "housekeeping/handoff_archive.h"
#include "housekeeping/private_storage.h"
#include "model/date.h"
#include "operations/operation_executor.h"
#include "scan/project_inventory.h"

namespace kelo {

inline constexpr std::uint64_t kHandoffProjectLimit = 20'000'000'000;  // decimal: 20 GB
inline constexpr std::uint64_t kHandoffStagingLimit = 2'000'000'000;   // decimal: 2 GB
inline constexpr std::string_view kHandoffCancelled =
    "Handoff cancelled. Nothing was exported and the project is unchanged.";

struct HandoffRequest {
    std::filesystem::path project;       // the project folder
    ProjectInventory reviewed;           // what the user looked at
    std::filesystem::path exportFolder;  // where the archive is published
};

struct HandoffContext {
    std::filesystem::path dataDirectory;
    PrivateStorage storage;
    std::function<Date()> clock;
    HandoffProgress progress;
    std::stop_token stop;
    // Test seam: handed to the publishing executor (see OperationExecutor::StepProbe).
    OperationExecutor::StepProbe publicationProbe;
};

// Runs every check, packs and publishes. Returns the message for the user
// ("Handoff created: ..." or kHandoffCancelled); throws KeloError for a refusal.
std::string createHandoff(const HandoffRequest& request, const HandoffContext& context);

// Settles stages whose publication was interrupted from "handoff-journal.json",
// removes the stages of completed publications, then sweeps abandoned stages older
// than a day. Returns the lines for the scan's messages.
std::vector<std::string> reconcileHandoffs(const std::filesystem::path& dataDirectory, const PrivateStorage& storage,
                                           Date now);

}  // namespace kelo
