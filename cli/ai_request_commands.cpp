// `kelo ai ask|retry|accept|rename|dismiss`: one online AI request and what the
// user does with its suggestion. `ask` and `retry` show exactly what would leave
// the machine (the preview's size in pixels and bytes, and the context JSON) and
// send only after the user said yes on the terminal, or with --yes; the wait for
// Gemini runs beside the engine and Ctrl-C cancels it.
#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "cli/command.h"
#include "cli/interrupt_stops.h"
#include "cli/output.h"
#include "engine/ai_advice_commands.h"
#include "engine/ai_request_task.h"
#include "engine/snapshot_json.h"
#include "model/kelo_error.h"

namespace kelo::cli {

namespace {

constexpr std::string_view kNotConfirmed = "Nothing was sent to Gemini: confirm on a terminal or add --yes.";
constexpr std::string_view kDeclined = "Nothing was sent to Gemini.";

struct RequestOptions {
    std::string file;
    std::optional<std::string> attach;
    std::string record;
    std::optional<std::string> name;
    bool yes = false;
};

Uuid recordId(const std::string& text) {
    const auto id = Uuid::parse(text);
    if (!id) throw KeloError::unsafe(std::string(kAIRecordNotFound));
    return *id;
}

template <class T>
std::string raw(T value) {
    for (const auto& [candidate, text] : rawValues(value))
        if (candidate == value) return std::string(text);
    return {};
}

// What will leave the machine; on standard error when standard output carries JSON.
void disclose(std::ostream& out, const AIDraft& draft, const std::optional<std::string>& attachment) {
    out << "Kelo will send this to Gemini for " << draft.file.url.string() << ":\n"
        << "  preview: " << draft.width << " x " << draft.height << " pixels, " << draft.jpeg.size()
        << " bytes of JPEG, made from " << (attachment ? *attachment : draft.file.filename()) << "\n"
        << "  context: " << draft.context << "\n";
}

bool confirmed(bool yes) {
    if (yes) return true;
    if (::isatty(STDIN_FILENO) != 1) throw KeloError::unsafe(std::string(kNotConfirmed));
    std::cerr << "Send it? It counts against today's cap even if it fails. [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

void printOutcome(std::ostream& out, const Snapshot& snapshot, const Uuid& id) {
    printMessages(out, snapshot);
    for (const auto& record : snapshot.ai->records) {
        if (record.id != id || !record.advice) continue;
        const AIAdvice& advice = *record.advice;
        std::string project = "no project";
        for (const auto& p : snapshot.state->projects)
            if (advice.projectID && p.id == *advice.projectID) project = "project " + p.name;
        out << "Suggestion: " << advice.filename << " in " << project << " (" << raw(advice.category) << ", "
            << raw(advice.confidence) << " confidence)\n"
            << "  " << advice.reason << "\n"
            << "Accept with: kelo ai accept " << id.text() << "   rename: kelo ai rename " << id.text()
            << "   dismiss: kelo ai dismiss " << id.text() << "\n";
    }
}

// Shows the draft, asks, sends beside the engine (Ctrl-C cancels), prints the outcome.
int confirmAndSend(EngineWorker& worker, const AIDraft& draft, const RequestOptions& o, bool json, std::ostream& out) {
    disclose(json ? std::cerr : out, draft, o.attach);
    if (!confirmed(o.yes)) {
        std::cerr << kDeclined << "\n";
        return 1;
    }
    std::stop_source stop;
    InterruptStops guard;
    auto sending = AIRequestTask::send(worker, draft, stop.get_token());
    while (sending.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
        if (InterruptStops::requested()) stop.request_stop();
    const AICommands::AIOutcome outcome = sending.get();
    if (json)
        out << formatDocument(snapshotJson(*outcome.snapshot));
    else
        printOutcome(out, *outcome.snapshot, outcome.record);
    return outcome.suggested ? 0 : 1;
}

std::optional<std::filesystem::path> attachment(const RequestOptions& o) {
    if (!o.attach) return std::nullopt;
    return std::filesystem::absolute(*o.attach);
}

}  // namespace

void addAIRequestCommands(CLI::App& ai, Commands& commands) {
    auto o = std::make_shared<RequestOptions>();

    auto* ask = ai.add_subcommand("ask", "Show what would be sent for FILE, then ask Gemini once");
    ask->add_option("FILE", o->file, "A file in a folder allowed for online AI")->required();
    ask->add_option("--attach", o->attach, "An exported PNG/JPG to send in place of FILE")->option_text("IMAGE");
    ask->add_flag("--yes", o->yes, "Send without asking");
    Command askCommand(ask, nullptr, nullptr);
    askCommand.withWorker = [o](EngineWorker& worker, bool json, std::ostream& out) {
        const AIDraft draft = AIRequestTask::prepare(worker, o->file, attachment(*o)).get();
        return confirmAndSend(worker, draft, *o, json, out);
    };
    commands.push_back(std::move(askCommand));

    auto* retry = ai.add_subcommand("retry", "Send a failed request once more, the one retry it allows");
    retry->add_option("RECORD", o->record, "The id of the failed request (kelo ai records)")->required();
    retry->add_option("--attach", o->attach, "An exported PNG/JPG to send in place of the file")->option_text("IMAGE");
    retry->add_flag("--yes", o->yes, "Send without asking");
    Command retryCommand(retry, nullptr, nullptr);
    retryCommand.withWorker = [o](EngineWorker& worker, bool json, std::ostream& out) {
        const Uuid id = recordId(o->record);
        const auto file = attachment(*o);
        const AIDraft draft = worker.run([&](Engine& engine) { return AICommands::retryAI(engine, id, file); }).get();
        return confirmAndSend(worker, draft, *o, json, out);
    };
    commands.push_back(std::move(retryCommand));

    auto* accept = ai.add_subcommand("accept", "Sort the file into the suggested project (undo from History)");
    accept->add_option("RECORD", o->record, "The id of the suggestion")->required();
    commands.push_back({accept,
                        [o](Engine& engine) { return AICommands::acceptAIProject(engine, recordId(o->record)); },
                        printMessages});

    auto* rename = ai.add_subcommand("rename", "Rename the file to the suggested name (undo from History)");
    rename->add_option("RECORD", o->record, "The id of the suggestion")->required();
    rename->add_option("--name", o->name, "Use this name instead of the suggested one")->option_text("NAME");
    commands.push_back({rename,
                        [o](Engine& engine) { return AICommands::aiRename(engine, recordId(o->record), o->name); },
                        printMessages});

    auto* dismiss = ai.add_subcommand("dismiss", "Dismiss a suggestion; its file version is never sent again");
    dismiss->add_option("RECORD", o->record, "The id of the request")->required();
    commands.push_back({dismiss, [o](Engine& engine) { return AICommands::dismissAI(engine, recordId(o->record)); },
                        [](std::ostream& out, const Snapshot& snapshot) {
                            printMessages(out, snapshot);
                            out << "Dismissed.\n";
                        }});
}

}  // namespace kelo::cli
