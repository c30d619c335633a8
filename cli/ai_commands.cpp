// `kelo ai`: online AI settings, the key and the request log. The key is read from
// standard input only, never from an argument, so it stays out of the process list
// and the shell's history.
#include "engine/ai_commands.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "access/path_safety.h"
#include "ai/ai_eligibility.h"
#include "cli/command.h"
#include "cli/output.h"
#include "engine/ai_key_commands.h"
#include "model/kelo_error.h"

namespace kelo::cli {

namespace {

const char* yesNo(bool value) { return value ? "yes" : "no"; }

// Settings, today's use, the pause and the key, after the command's own messages.
void printAI(std::ostream& out, const Snapshot& snapshot) {
    printMessages(out, snapshot);
    if (snapshot.aiStorageIssue) out << *snapshot.aiStorageIssue << "\n";
    if (!snapshot.ai) return;
    const AIState& ai = *snapshot.ai;
    const AIConfiguration& c = ai.configuration;
    out << "Online AI: " << (c.ready() ? "ready" : c.enabled ? "on, not ready" : "off") << "\n"
        << "  free tier confirmed: " << yesNo(c.freeTierConfirmed)
        << ", previews may be sent to Google: " << yesNo(c.dataUseAcknowledged)
        << ", automatic: " << yesNo(c.automatic) << "\n"
        << "  today: " << ai.used(Date::now(), DayCalendar()) << " of " << c.dailyLimit << " requests\n";
    if (ai.pausedUntil && *ai.pausedUntil > Date::now())
        out << "  paused until " << localTimestamp(*ai.pausedUntil) << "\n";
    for (const auto& folder : c.allowedFolders) out << "  folder: " << folder << "\n";
    out << "  key: " << (snapshot.aiSessionKey ? "this session only" : snapshot.aiHasKey ? "saved in keyring" : "none")
        << "\n"
        << AIEligibility::kPreviewSupportText << "\n";
}

void printRecords(std::ostream& out, const Snapshot& snapshot) {
    printMessages(out, snapshot);
    if (!snapshot.ai || snapshot.ai->records.empty()) {
        out << "No online AI requests yet.\n";
        return;
    }
    for (const auto& record : snapshot.ai->records) {
        std::string status;
        for (const auto& [value, text] : rawValues(AIRecordStatus{}))
            if (value == record.status) status = text;
        out << record.id.text() << "  " << localTimestamp(record.date) << "  " << status << "  "
            << record.file.url.string() << "\n";
        if (record.advice) {
            out << "    " << record.advice->filename;
            if (record.advice->projectID) out << " in project " << record.advice->projectID->text();
            out << ": " << record.advice->reason << "\n";
        }
        if (record.note) out << "    " << *record.note << "\n";
    }
}

// One line from standard input, without echo on a terminal.
std::string readKey() {
    const bool terminal = isatty(STDIN_FILENO);
    termios saved{};
    if (terminal) {
        std::cerr << "Gemini API key: " << std::flush;
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string key;
    std::getline(std::cin, key);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::cerr << "\n";
    }
    while (!key.empty() && (key.back() == '\r' || key.back() == ' ' || key.back() == '\t')) key.pop_back();
    return key;
}

struct ConfigureOptions {
    std::optional<bool> enabled, freeTier, dataUse, automatic;
    std::optional<std::int64_t> cap;
    std::vector<std::string> folders;
    bool noFolders = false;
};

SnapshotPtr configure(Engine& engine, const ConfigureOptions& o) {
    AIConfiguration next = engine.ai().configuration;
    if (o.enabled) next.enabled = *o.enabled;
    if (o.freeTier) next.freeTierConfirmed = *o.freeTier;
    if (o.dataUse) next.dataUseAcknowledged = *o.dataUse;
    if (o.automatic) next.automatic = *o.automatic;
    if (o.cap) next.dailyLimit = *o.cap;
    if (o.noFolders) next.allowedFolders.clear();
    if (!o.folders.empty()) {
        next.allowedFolders.clear();
        for (const auto& folder : o.folders)
            next.allowedFolders.push_back(PathSafety::key(std::filesystem::absolute(folder)));
    }
    return AICommands::configureAI(engine, next);
}

}  // namespace

void addAICommands(CLI::App& app, Commands& commands) {
    auto* ai = app.add_subcommand("ai", "Online AI advice with your own Gemini key: settings, key and requests");
    ai->require_subcommand(0, 1);
    commands.push_back({ai, nullptr, printAI});

    auto options = std::make_shared<ConfigureOptions>();
    auto* configureCommand = ai->add_subcommand("configure", "Change the online AI settings; unnamed ones stay");
    configureCommand->add_option("--enabled", options->enabled, "Switch online AI on or off")->option_text("on|off");
    configureCommand
        ->add_option("--free-tier-confirmed", options->freeTier,
                     "Confirm that the Gemini project behind your key is on Google's free tier")
        ->option_text("yes|no");
    configureCommand
        ->add_option("--data-use-acknowledged", options->dataUse,
                     "Acknowledge that previews of your files are sent to Google")
        ->option_text("yes|no");
    configureCommand->add_option("--daily-cap", options->cap, "Local cap on requests per day, 1 to 50")
        ->option_text("N");
    configureCommand
        ->add_option("--folder", options->folders, "An approved folder whose files may be sent (repeat for more)")
        ->option_text("APPROVED_PATH");
    configureCommand->add_flag("--no-folders", options->noFolders, "Allow no folder");
    configureCommand->add_option("--automatic", options->automatic, "Let Kelo send eligible files on its own")
        ->option_text("on|off");
    commands.push_back({configureCommand, [options](Engine& engine) { return configure(engine, *options); }, printAI});

    auto* key = ai->add_subcommand("key", "Your Gemini API key, read from standard input");
    key->require_subcommand(1);
    auto* save = key->add_subcommand("save", "Save the key in the keyring");
    commands.push_back(
        {save, [](Engine& engine) { return AICommands::saveAIKey(engine, readKey()); }, printAI});
    auto* session = key->add_subcommand("session", "Use the key until this command ends, without saving it");
    commands.push_back(
        {session, [](Engine& engine) { return AICommands::useSessionAIKey(engine, readKey()); }, printAI});
    auto* forget = key->add_subcommand("forget", "Remove the saved key and switch online AI off");
    commands.push_back({forget, AICommands::forgetAIKey, printAI});
    auto* status = key->add_subcommand("status", "Ask the keyring whether a key is saved");
    commands.push_back({status, AICommands::refreshAIKey, printAI});

    auto* records = ai->add_subcommand("records", "The online AI requests, oldest first");
    commands.push_back({records, nullptr, printRecords});

    addAIRequestCommands(*ai, commands);
}

}  // namespace kelo::cli
