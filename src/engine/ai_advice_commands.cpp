#include "engine/ai_advice_commands.h"

#include "access/path_safety.h"
#include "engine/ai_commands.h"
#include "engine/file_commands.h"
#include "model/kelo_error.h"
#include "operations/operation_planner.h"
#include "scan/metadata.h"

namespace kelo::AICommands {

namespace {

[[noreturn]] void refuse(std::string_view text) {
    throw KeloError::unsafe(std::string(text));
}

const AIRecord& recordWithId(const Engine& engine, const Uuid& id) {
    for (const auto& record : engine.ai().records)
        if (record.id == id) return record;
    refuse(kAISuggestionGone);
}

bool unchangedOnDisk(const FileRecord& file) {
    try {
        return Metadata::identity(file.url) == file.identity;
    } catch (const std::exception&) {
        return false;
    }
}

void setStatus(Engine& engine, const Uuid& id, AIRecordStatus status) {
    AIState next = engine.ai();
    for (auto& record : next.records)
        if (record.id == id) record.status = status;
    persistAI(engine, next);
}

}  // namespace

SnapshotPtr dismissAI(Engine& engine, const Uuid& id) {
    const AIRecord& record = recordWithId(engine, id);
    // A request still out is recorded when it comes back; it cannot be dismissed yet.
    if (record.status == AIRecordStatus::started) refuse(kAISuggestionGone);
    if (record.status != AIRecordStatus::dismissed) setStatus(engine, id, AIRecordStatus::dismissed);
    return engine.snapshot();
}

SnapshotPtr acceptAIProject(Engine& engine, const Uuid& id) {
    const AIRecord record = recordWithId(engine, id);
    if (record.status != AIRecordStatus::suggested || !record.advice) refuse(kAISuggestionGone);
    const AIAdvice& advice = *record.advice;
    const Project* project = nullptr;
    for (const auto& candidate : engine.state().projects)
        if (advice.projectID && candidate.id == *advice.projectID && candidate.status != ProjectStatus::archived)
            project = &candidate;
    if (!project) refuse(kAINoProject);
    for (const auto& candidate : engine.state().projects)
        if (PathSafety::contains(candidate.destinationFolder, record.file.url)) refuse(kAIFileInProject);
    if (!unchangedOnDisk(record.file)) refuse(kAIFileChangedBeforeAssign);

    // The manual sort: planned, validated, journaled, executed; the record follows
    // the file when the move completes (Engine::runPlan).
    SnapshotPtr sorted = FileCommands::sortFile(engine, record.file.url, project->id.text(), advice.category);
    const AIRecord& after = recordWithId(engine, id);
    if (after.file.url == record.file.url) return sorted;  // skipped, failed or a dry run
    try {
        setStatus(engine, id, AIRecordStatus::dismissed);
    } catch (const std::exception& error) {
        auto copy = std::make_shared<Snapshot>(*sorted);
        copy->messages.push_back(error.what());
        return copy;
    }
    auto copy = std::make_shared<Snapshot>(*sorted);
    copy->ai = std::make_shared<const AIState>(engine.ai());
    return copy;
}

SnapshotPtr aiRename(Engine& engine, const Uuid& id, const std::optional<std::string>& name) {
    const AIRecord record = recordWithId(engine, id);
    const bool renamed = record.note && *record.note == kAIRenamedNote;
    if (!record.advice || record.status == AIRecordStatus::failed || record.status == AIRecordStatus::started ||
        renamed)
        refuse(kAISuggestionGone);
    if (!unchangedOnDisk(record.file)) refuse(kAIFileChanged);
    const FileRecord current = Metadata::record(record.file.url, record.file.sourceFolder);
    const OperationPlan plan =
        OperationPlanner::reviewedRename(current, name.value_or(record.advice->filename), engine.now());
    // The reviewed rename of a manual rename; the record follows and is dismissed.
    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    return engine.refreshAfterBatch(plan, run.result, scope, run.messages);
}

}  // namespace kelo::AICommands
