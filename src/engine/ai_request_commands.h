// One online AI request from start to end: prepare it (nothing leaves the machine),
// send it exactly once with its usage reserved on disk first, and record how it
// ended; the automatic mode that does the same for one eligible inbox file; and the
// user's one explicit retry of a failed request. Nothing here ever sends a request
// twice on its own.
//
// The functions in AICommands run on the engine thread only. Each send is cut into
// phases (reserveAI, the network call, recordAI) so that AIRequestTask
// (ai_request_task.h) can wait for the network beside the engine, which stays free
// for other commands meanwhile; sendAI runs all three on the engine thread.
#pragma once

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "ai/ai_draft.h"
#include "ai/gemini_client.h"
#include "engine/engine.h"

namespace kelo {

inline constexpr std::string_view kAIDraftStale =
    "Online AI settings changed or preview is too large. Prepare it again.";
inline constexpr std::string_view kAISettingsChanged = "Settings changed. Prepare this AI request again.";
inline constexpr std::string_view kAINoKey = "Save your own Free Tier Gemini key in Settings first.";
inline constexpr std::string_view kAIAutomaticFailedNote =
    "Could not prepare/send automatically. Check settings or attach an exported PNG/JPG. No automatic retry.";
inline constexpr std::string_view kAIRetryRefused =
    "Only a failed request can be retried, and only once. Nothing was sent.";
inline constexpr std::string_view kAIRecordNotFound = "No online AI request has this id. Nothing changed.";

namespace AICommands {

// Automatic requests are at least this far apart.
inline constexpr double kAutomaticSpacingSeconds = 20;

// --- Preparing: validates, makes the preview, builds the context. Sends nothing. ---

// What preparing needs from the engine, taken on the engine thread; the preview is
// then made from it on any thread (it may take up to 25 seconds for a PSD).
struct AIPreparation {
    FileRecord file;
    std::optional<std::filesystem::path> attachment;  // an exported PNG/JPG sent instead
    std::vector<AIProjectContext> projects;
    std::optional<Uuid> knownProject;
    Uuid configurationRevision;
    std::optional<Uuid> retryOf;
};

// Engine thread: validateAIFile, then the candidate projects (the file's best
// classification candidates first, then the other open projects, at most 50) and
// the project the file already lies in, if any.
AIPreparation beginPrepareAI(Engine& engine, const FileRecord& file,
                             const std::optional<std::filesystem::path>& attachment = std::nullopt);
// Any thread: the JPEG of the attachment, or of the file itself. `stop` ends the
// wait for a design thumbnail early, refused with kPreviewStoppedText.
std::string makeAIPreview(const AIPreparation& preparation, std::stop_token stop = {});
// Engine thread: validates the file again, checks the settings did not change
// meanwhile, and builds the context. Throws kAIDraftStale when they did.
AIDraft finishPrepareAI(Engine& engine, const AIPreparation& preparation, std::string jpeg);

// The file at `path` as preparing sees it: the scanned inbox file there, or any
// other file, read from disk now (validateAIFile decides whether it may be sent).
FileRecord aiFileAt(Engine& engine, const std::filesystem::path& path);

// The three phases on the engine thread.
AIDraft prepareAI(Engine& engine, const FileRecord& file,
                  const std::optional<std::filesystem::path>& attachment = std::nullopt);
// The same for aiFileAt(path).
AIDraft prepareAIAt(Engine& engine, const std::filesystem::path& file,
                    const std::optional<std::filesystem::path>& attachment = std::nullopt);

// --- Sending. ---

// A request whose usage is reserved and saved: everything the network call needs,
// so it can run away from the engine. Holds the key in memory only.
struct ReservedAIRequest {
    AIDraft draft;
    Uuid record;  // the "started" record reserved for it
    std::string body;
    std::string key;
    GeminiTransport transport;
};

// How one sent request ended. The snapshot's messages hold the failure text, the
// record is "suggested" or "failed".
struct AIOutcome {
    SnapshotPtr snapshot;
    Uuid record;
    bool suggested = false;
};

// Engine thread: validates the file again under a fresh access session, refuses a
// stale draft (kAISettingsChanged, no usage taken) or a missing key (kAINoKey),
// builds the body, then reserves one request and persists the reservation. Only
// when it returns is the request allowed to leave.
ReservedAIRequest reserveAI(Engine& engine, const AIDraft& draft);
// Engine thread: records the answer (validated advice, or discarded when the file
// changed while it was out) or the failure with its effect on online AI: switched
// off after 400/401/403/404, paused until midnight after 429, paused five minutes
// after anything else but a cancellation. Never sends anything.
AIOutcome recordAI(Engine& engine, const ReservedAIRequest& request, const GeminiClient::Result& result);
// Any thread: the one network call of a reserved request. Never throws: whatever
// goes wrong comes back as a failure, so the reservation is always recorded.
GeminiClient::Result sendReservedAI(const ReservedAIRequest& request, std::stop_token stop);
// reserveAI, sendReservedAI, recordAI, all on the engine thread.
AIOutcome sendAI(Engine& engine, const AIDraft& draft, std::stop_token stop = {});

// --- Automatic mode and the user's retry. ---

// When automatic mode is on, online AI may send, a key is at hand, no request is out
// and the last one is at least 20 seconds old: the first inbox file that is
// eligible for automatic sending in an allowed folder, as a reserved request.
// Nothing when none is due. A file that could not be prepared or reserved gets a
// "failed" record with kAIAutomaticFailedNote, so it is never tried automatically
// again. All on the engine thread; the phases below let the preview run beside it.
std::optional<ReservedAIRequest> beginAutomaticAI(Engine& engine);
// The same in phases, so that the preview (up to 25 seconds for a PSD) is made off
// the engine thread as a manual request's is. Engine thread: the file chosen and
// prepared up to its preview, when a request is due.
std::optional<AIPreparation> chooseAutomaticAI(Engine& engine);
// Any thread: the chosen file's preview, or nothing when none could be made.
std::optional<std::string> makeAutomaticAIPreview(const AIPreparation& preparation, std::stop_token stop = {});
// Engine thread: the chosen file's request reserved. Nothing, and no record, when
// a request is no longer due or the settings changed while the preview was made
// (the file stays eligible); a file whose preview or request could not be made
// gets its "failed" record.
std::optional<ReservedAIRequest> reserveAutomaticAI(Engine& engine, const AIPreparation& preparation,
                                                    std::optional<std::string> jpeg);
// beginAutomaticAI, then the send and its record, at most one request per call.
SnapshotPtr automaticAI(Engine& engine, std::stop_token stop = {});

// The user's one explicit retry of a failed record: prepared like a new request for
// the same, unchanged file, and sent with sendAI. The failed record stays as it is;
// the retry gets a record of its own and counts against the daily cap. Refused with
// kAIRetryRefused unless the record failed and is the only one of its saved version.
AIDraft retryAI(Engine& engine, const Uuid& record,
                const std::optional<std::filesystem::path>& attachment = std::nullopt);
// Engine thread: retryAI up to its preview, for a caller that makes the preview
// off the engine thread and finishes with finishPrepareAI.
AIPreparation beginRetryAI(Engine& engine, const Uuid& record,
                           const std::optional<std::filesystem::path>& attachment = std::nullopt);

}  // namespace AICommands

}  // namespace kelo
