#include <memory>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

namespace {

struct SettingsArguments {
    std::string dryRun, groupBySubjob, displayName, preset;
    std::optional<int> ready, probably;
    bool displayNameGiven = false;

    bool changesSomething() const {
        return !dryRun.empty() || !groupBySubjob.empty() || ready || probably || displayNameGiven || !preset.empty();
    }
};

}  // namespace

void addSettingsCommands(CLI::App& app, Commands& commands) {
    auto args = std::make_shared<SettingsArguments>();
    auto* settings = app.add_subcommand("settings", "Show or change settings");
    const auto onOff = CLI::IsMember({"on", "off"});
    settings->add_option("--dry-run", args->dryRun, "Simulate file changes (on|off)")->check(onOff);
    settings->add_option("--ready", args->ready, "Score at which a suggestion is Ready");
    settings->add_option("--probably", args->probably, "Score at which a suggestion is Probably");
    settings->add_option("--display-name", args->displayName, "Your name as Kelo shows it")
        ->each([args](const std::string&) { args->displayNameGiven = true; });
    settings->add_option("--preset", args->preset, "What you mostly file (study|design|personal)")
        ->check(CLI::IsMember({"study", "design", "personal"}));
    settings->add_option("--group-by-subjob", args->groupBySubjob, "Group cleaned files by sub-job (on|off)")
        ->check(onOff);

    commands.push_back({settings,
                        [args](Engine& engine) -> SnapshotPtr {
                            if (!args->changesSomething()) return engine.snapshot();
                            Settings next = engine.state().settings;
                            if (!args->dryRun.empty()) next.dryRun = args->dryRun == "on";
                            if (!args->groupBySubjob.empty()) next.groupBySubjob = args->groupBySubjob == "on";
                            if (args->ready) next.thresholds.ready = *args->ready;
                            if (args->probably) next.thresholds.probably = *args->probably;
                            if (args->displayNameGiven) next.displayName = Settings::normalizeName(args->displayName);
                            if (!args->preset.empty()) next.usagePreset = enumFromRaw<UsagePreset>(args->preset);
                            return engine.updateSettings(next);
                        },
                        printSettings});
}

}  // namespace kelo::cli
