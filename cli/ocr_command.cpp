// `kelo ocr FILE`: reads the text in an inbox image on this computer and proposes
// a project and a sub-job for its new name. Nothing is renamed and nothing leaves
// the machine. The engine only names the file; the reading runs beside it.
#include <iostream>
#include <optional>

#include "cli/command.h"
#include "engine/ocr_commands.h"
#include "engine/persistent_data.h"
#include "model/json_codec.h"
#include "store/data_directory.h"

namespace kelo::cli {

namespace {

// Global options are parsed on the command itself or on the program before it.
bool flagGiven(const CLI::App& root, const CLI::App& command, const std::string& name) {
    return command.count(name) > 0 || root.count(name) > 0;
}

std::optional<std::filesystem::path> dataDirOption(const CLI::App& root, const CLI::App& command) {
    for (const CLI::App* app : {&command, &root})
        if (app->count("--data-dir") > 0) return app->get_option("--data-dir")->as<std::string>();
    return std::nullopt;
}

Json hintsJson(const OcrCommands::OcrHints& hints) {
    Json out = Json::object();
    out["lines"] = hints.lines;
    out["projectID"] = hints.project ? Json(hints.project->id.text()) : Json(nullptr);
    out["subjob"] = hints.subjob ? Json(*hints.subjob) : Json(nullptr);
    return out;
}

void printHints(std::ostream& out, const OcrCommands::OcrHints& hints) {
    for (const auto& line : hints.lines) out << "  " << line << "\n";
    if (hints.project) out << "Project: " << hints.project->name << "\n";
    if (const auto text = OcrCommands::outcomeText(hints)) out << *text << "\n";
}

int runOcr(std::ostream& out, const CLI::App& root, const CLI::App& command, const std::string& file) {
    std::unique_ptr<EngineWorker> worker;
    try {
        worker = std::make_unique<EngineWorker>(locateDataDirectory(dataDirOption(root, command)));
    } catch (const std::exception& e) {
        std::cerr << startupFailureText(e) << "\n";
        return 1;
    }
    worker->scan().get();  // so FILE means the file as it is now
    const OcrCommands::OcrHints hints = OcrCommands::recognize(*worker, file).get();
    if (flagGiven(root, command, "--json"))
        out << formatDocument(hintsJson(hints));
    else
        printHints(out, hints);
    return 0;
}

}  // namespace

void addOcrCommand(CLI::App& app, Commands& commands) {
    auto file = std::make_shared<std::string>();
    auto* ocr = app.add_subcommand("ocr", "Read the text in an inbox image and suggest its project and sub-job");
    ocr->add_option("FILE", *file, "An image in an inbox (PNG, JPEG, HEIC, WebP, TIFF, BMP, PSD or AI)")->required();
    Command command(ocr, nullptr, nullptr);
    command.standalone = [&app, ocr, file](std::ostream& out) { return runOcr(out, app, *ocr, *file); };
    commands.push_back(std::move(command));
}

}  // namespace kelo::cli
