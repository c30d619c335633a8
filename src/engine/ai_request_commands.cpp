#include "engine/ai_request_commands.h"

#include <algorithm>

#include "access/path_safety.h"
#include "ai/ai_eligibility.h"
#include "ai/ai_preview.h"
#include "ai/gemini_payload.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "engine/sort_learning.h"
#include "model/kelo_error.h"
#include "preview/thumbnailer.h"
#include "scan/metadata.h"

namespace kelo::AICommands {

namespace {

[[noreturn]] void refuse(std::string_view text) {
    throw KeloError::unsafe(std::string(text));
}

// Open projects the model may choose from: the file's classification candidates
// with evidence first (best first), then the others in their stored order. The
// project the file already lies in always comes first, since the model must keep it.
std::vector<AIProjectContext> candidateProjects(Engine& engine, const FileRecord& file,
                                                const std::optional<Uuid>& known) {
    std::vector<const Project*> order;
    const auto& projects = engine.state().projects;
    const auto byId = [&](const Uuid& id) -> const Project* {
        for (const auto& project : projects)
            if (project.id == id) return &project;
        return nullptr;
    };
    if (known) order.push_back(byId(*known));
    if (const auto classification = SortLearning::classificationOf(engine, file)) {
        for (const auto& candidate : classification->candidates.ranked()) order.push_back(byId(candidate.projectID));
        for (const auto& candidate : classification->candidates.zeroWithEvidence())
            order.push_back(byId(candidate.projectID));
    }
    for (const auto& project : projects) order.push_back(&project);

    std::vector<AIProjectContext> chosen;
    for (const Project* project : order) {
        if (chosen.size() == GeminiPayload::kMaximumProjects) break;
        if (!project || project->status == ProjectStatus::archived) continue;
        if (project->name.size() > GeminiPayload::kProjectNameLimit) continue;
        const bool seen = std::any_of(chosen.begin(), chosen.end(), [&](const auto& c) { return c.id == project->id; });
        if (!seen) chosen.push_back({project->id, project->name});
    }
    return chosen;
}

std::optional<Uuid> containingProject(const Engine& engine, const FileRecord& file) {
    for (const auto& project : engine.state().projects)
        if (PathSafety::contains(project.destinationFolder, file.url)) return project.id;
    return std::nullopt;
}

AIRecord* findRecord(AIState& state, const Uuid& id) {
    for (auto& record : state.records)
        if (record.id == id) return &record;
    return nullptr;
}

// A failed record may be retried once: while it is the only record of its saved
// version (the retry adds the second).
bool retryable(const AIState& state, const Uuid& id) {
    const auto it = std::find_if(state.records.begin(), state.records.end(), [&](const auto& r) { return r.id == id; });
    if (it == state.records.end() || it->status != AIRecordStatus::failed) return false;
    const std::string fingerprint = it->file.fingerprint();
    return std::count_if(state.records.begin(), state.records.end(),
                         [&](const auto& r) { return r.file.fingerprint() == fingerprint; }) == 1;
}

// The retry goes through reserve like any request (cap, pause, day roll-over, the
// 500-record limit); the failed record stands aside only while reserve checks that
// this saved version was never sent, then returns to its place.
Uuid reserveRetry(AIState& state, Date now, const DayCalendar& calendar, const Uuid& failedId, const FileRecord& file) {
    if (!retryable(state, failedId)) refuse(kAIRetryRefused);
    const auto it =
        std::find_if(state.records.begin(), state.records.end(), [&](const auto& r) { return r.id == failedId; });
    const auto position = it - state.records.begin();
    const AIRecord failed = *it;
    if (failed.file.fingerprint() != file.fingerprint()) refuse(kAIRetryRefused);
    state.records.erase(it);
    const Uuid id = state.reserve(now, calendar, file);
    state.records.insert(state.records.begin() + std::min<std::ptrdiff_t>(position, state.records.size() - 1), failed);
    if (state.records.size() > AIState::kMaximumRecords) state.records.erase(state.records.begin());
    return id;
}

void appendFailedRecord(AIState& state, const FileRecord& file, Date now, std::string_view note) {
    AIRecord record;
    record.id = Uuid::random();
    record.file = file;
    record.date = now;
    record.status = AIRecordStatus::failed;
    record.note = std::string(note);
    state.records.push_back(std::move(record));
    if (state.records.size() > AIState::kMaximumRecords) state.records.erase(state.records.begin());
}

void applyEffect(AIState& state, AIFailureEffect effect, Date now, const DayCalendar& calendar) {
    switch (effect) {
        case AIFailureEffect::switchOff:
            state.configuration.enabled = false;
            state.configuration.revision = Uuid::random();
            break;
        case AIFailureEffect::pauseFiveMinutes: state.pausedUntil = now.adding(300); break;
        case AIFailureEffect::pauseUntilTomorrow: state.markQuotaExhausted(now, calendar); break;
        case AIFailureEffect::none: break;
    }
}

bool unchangedOnDisk(const FileRecord& file) {
    try {
        return Metadata::identity(file.url) == file.identity;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

FileRecord aiFileAt(Engine& engine, const std::filesystem::path& path) {
    const auto standardized = PathSafety::standardized(std::filesystem::absolute(path));
    const auto key = PathSafety::key(standardized);
    for (const auto& file : engine.files())
        if (PathSafety::key(file.url) == key) return file;
    return Metadata::record(standardized, standardized.parent_path());
}

AIPreparation beginPrepareAI(Engine& engine, const FileRecord& file,
                             const std::optional<std::filesystem::path>& attachment) {
    validateAIFile(engine, file, engine.openScope());
    AIPreparation preparation;
    preparation.file = file;
    preparation.attachment = attachment;
    preparation.knownProject = containingProject(engine, file);
    preparation.projects = candidateProjects(engine, file, preparation.knownProject);
    preparation.configurationRevision = engine.ai().configuration.revision;
    return preparation;
}

std::string makeAIPreview(const AIPreparation& preparation, std::stop_token stop) {
    if (preparation.attachment) return AIPreview::fromAttachment(AIPreview::readAttachment(*preparation.attachment));
    AIPreview::DesignThumbnails design;
    design.stop = std::move(stop);
    return AIPreview::make(preparation.file, design);
}

AIDraft finishPrepareAI(Engine& engine, const AIPreparation& preparation, std::string jpeg) {
    validateAIFile(engine, preparation.file, engine.openScope());
    if (engine.ai().configuration.revision != preparation.configurationRevision ||
        jpeg.size() > GeminiPayload::kPreviewLimit)
        refuse(kAIDraftStale);
    AIDraft draft;
    draft.file = preparation.file;
    draft.projects = preparation.projects;
    draft.knownProject = preparation.knownProject;
    draft.context = GeminiPayload::context(draft.file, draft.projects, draft.knownProject);
    draft.configurationRevision = preparation.configurationRevision;
    draft.retryOf = preparation.retryOf;
    if (const auto image = decodeImage(jpeg, AIPreview::kMaximumEdge)) {
        draft.width = image->width;
        draft.height = image->height;
    }
    draft.jpeg = std::move(jpeg);
    return draft;
}

AIDraft prepareAI(Engine& engine, const FileRecord& file, const std::optional<std::filesystem::path>& attachment) {
    const AIPreparation preparation = beginPrepareAI(engine, file, attachment);
    return finishPrepareAI(engine, preparation, makeAIPreview(preparation));
}

AIDraft prepareAIAt(Engine& engine, const std::filesystem::path& file,
                    const std::optional<std::filesystem::path>& attachment) {
    return prepareAI(engine, aiFileAt(engine, file), attachment);
}

ReservedAIRequest reserveAI(Engine& engine, const AIDraft& draft) {
    validateAIFile(engine, draft.file, engine.openScope());
    if (draft.configurationRevision != engine.ai().configuration.revision) refuse(kAISettingsChanged);
    ReservedAIRequest request;
    auto key = currentAIKey(engine);
    if (!key) refuse(kAINoKey);
    request.key = std::move(*key);
    request.transport =
        engine.aiRuntime().transport ? *engine.aiRuntime().transport : GeminiTransport::fromEnvironment();
    request.body = GeminiPayload::body(draft.jpeg, draft.context, draft.projects);
    request.draft = draft;

    // Usage is counted when a request is attempted, and the count is on disk before
    // the request leaves: neither a crash nor a quit can give it back.
    AIState next = engine.ai();
    const Date now = engine.now();
    const DayCalendar& calendar = engine.aiRuntime().calendar;
    request.record = draft.retryOf ? reserveRetry(next, now, calendar, *draft.retryOf, draft.file)
                                   : next.reserve(now, calendar, draft.file);
    persistAI(engine, next);
    return request;
}

GeminiClient::Result sendReservedAI(const ReservedAIRequest& request, std::stop_token stop) {
    try {
        return GeminiClient::send(request.body, request.key, request.transport, stop);
    } catch (const std::exception& error) {
        return GeminiFailure{GeminiFailureKind::network, 0, error.what()};
    }
}

AIOutcome recordAI(Engine& engine, const ReservedAIRequest& request, const GeminiClient::Result& result) {
    const AIDraft& draft = request.draft;
    std::optional<AIAdvice> advice;
    GeminiFailure failure{GeminiFailureKind::invalidResponse, 0, {}};
    if (const auto* body = std::get_if<std::string>(&result)) {
        try {
            advice = GeminiPayload::advice(*body, draft.file, draft.projects, draft.knownProject);
            if (!unchangedOnDisk(draft.file)) {
                advice.reset();
                failure.detail = kChangedAfterUploadText;
            }
        } catch (const KeloError& error) {
            failure.detail = error.message();
        }
    } else {
        failure = std::get<GeminiFailure>(result);
    }

    AIState next = engine.ai();
    AIRecord* record = findRecord(next, request.record);
    AIOutcome outcome{nullptr, request.record, advice.has_value()};
    std::vector<std::string> messages;
    if (advice) {
        if (record && record->status == AIRecordStatus::started) {
            record->status = AIRecordStatus::suggested;
            record->advice = advice;
        }
    } else {
        const std::string text = userText(failure);
        applyEffect(next, effectOf(failure), engine.now(), engine.aiRuntime().calendar);
        if (record && record->status == AIRecordStatus::started) {
            record->status = AIRecordStatus::failed;
            record->note = text;
        }
        messages.push_back(text);
    }
    // Should this save fail, the record stays "started" on disk and the next start
    // marks it interrupted; its usage was counted either way.
    try {
        persistAI(engine, next);
    } catch (const std::exception& error) {
        messages.push_back(error.what());
    }
    outcome.snapshot = engine.snapshot(std::move(messages));
    return outcome;
}

AIOutcome sendAI(Engine& engine, const AIDraft& draft, std::stop_token stop) {
    const ReservedAIRequest request = reserveAI(engine, draft);
    return recordAI(engine, request, sendReservedAI(request, stop));
}

namespace {

// Automatic mode may start a request now: switched on, within the cap and out of
// any pause, spaced from the last request, none still out (a "started" record is
// one waiting for its answer), and a key at hand, so a missing key never uses up
// a file's one automatic attempt.
bool automaticDue(Engine& engine) {
    const AIState& ai = engine.ai();
    const Date now = engine.now();
    if (!ai.configuration.automatic || !ai.canRequest(now, engine.aiRuntime().calendar)) return false;
    if (ai.lastRequestAt && now.secondsSince(*ai.lastRequestAt) < kAutomaticSpacingSeconds) return false;
    if (std::any_of(ai.records.begin(), ai.records.end(),
                    [](const AIRecord& r) { return r.status == AIRecordStatus::started; }))
        return false;
    try {
        return currentAIKey(engine).has_value();
    } catch (const std::exception&) {
        return false;
    }
}

bool hasRecord(const AIState& state, const FileRecord& file) {
    const std::string fingerprint = file.fingerprint();
    return std::any_of(state.records.begin(), state.records.end(),
                       [&](const AIRecord& r) { return r.file.fingerprint() == fingerprint; });
}

// Best effort: should the save fail, the file is simply tried again later, which
// never sends it twice since nothing was sent for it.
void recordAutomaticFailure(Engine& engine, const FileRecord& file) {
    AIState next = engine.ai();
    appendFailedRecord(next, file, engine.now(), kAIAutomaticFailedNote);
    try {
        persistAI(engine, next);
    } catch (const std::exception&) {
    }
}

}  // namespace

std::optional<AIPreparation> chooseAutomaticAI(Engine& engine) {
    if (!automaticDue(engine)) return std::nullopt;
    const Date now = engine.now();
    std::vector<std::string> errors;
    const AccessScope scope = engine.openScope(&errors);
    auto roots = approvedRoots(engine);
    roots.insert(roots.end(), scope.watched.begin(), scope.watched.end());
    roots.insert(roots.end(), scope.homes.begin(), scope.homes.end());
    for (const auto& file : engine.files()) {
        if (!AIEligibility::automatic(file, engine.ai(), now) ||
            !AIEligibility::allowed(file, engine.ai().configuration, roots))
            continue;
        try {
            return beginPrepareAI(engine, file);
        } catch (const std::exception&) {
            recordAutomaticFailure(engine, file);
            return std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<std::string> makeAutomaticAIPreview(const AIPreparation& preparation, std::stop_token stop) {
    try {
        return makeAIPreview(preparation, std::move(stop));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<ReservedAIRequest> reserveAutomaticAI(Engine& engine, const AIPreparation& preparation,
                                                    std::optional<std::string> jpeg) {
    if (!automaticDue(engine) || hasRecord(engine.ai(), preparation.file) ||
        engine.ai().configuration.revision != preparation.configurationRevision)
        return std::nullopt;
    try {
        if (!jpeg) refuse(AIPreview::kNoImagePreviewText);
        return reserveAI(engine, finishPrepareAI(engine, preparation, std::move(*jpeg)));
    } catch (const std::exception&) {
        recordAutomaticFailure(engine, preparation.file);
        return std::nullopt;
    }
}

std::optional<ReservedAIRequest> beginAutomaticAI(Engine& engine) {
    const auto preparation = chooseAutomaticAI(engine);
    if (!preparation) return std::nullopt;
    return reserveAutomaticAI(engine, *preparation, makeAutomaticAIPreview(*preparation));
}

SnapshotPtr automaticAI(Engine& engine, std::stop_token stop) {
    const auto request = beginAutomaticAI(engine);
    if (!request) return engine.snapshot();
    return recordAI(engine, *request, sendReservedAI(*request, stop)).snapshot;
}

AIPreparation beginRetryAI(Engine& engine, const Uuid& record, const std::optional<std::filesystem::path>& attachment) {
    AIState copy = engine.ai();
    const AIRecord* failed = findRecord(copy, record);
    if (!failed) refuse(kAIRecordNotFound);
    if (!retryable(copy, record)) refuse(kAIRetryRefused);
    AIPreparation preparation = beginPrepareAI(engine, failed->file, attachment);
    preparation.retryOf = record;
    return preparation;
}

AIDraft retryAI(Engine& engine, const Uuid& record, const std::optional<std::filesystem::path>& attachment) {
    const AIPreparation preparation = beginRetryAI(engine, record, attachment);
    return finishPrepareAI(engine, preparation, makeAIPreview(preparation));
}

}  // namespace kelo::AICommands
