// `kelo studio PROJECT` opens a project in the Studio and prints its insights and
// the files that pass the filter; `kelo studio pin FILE` and `kelo studio unpin
// FILE` keep the references board. The filtering itself is the Studio's own.
#include "engine/studio_commands.h"

#include <iomanip>
#include <memory>
#include <optional>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "housekeeping/private_storage.h"
#include "model/kelo_error.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"
#include "studio/studio_json.h"

namespace kelo::cli {

namespace {

struct StudioOptions {
    std::string project;
    std::string kind;
    std::optional<std::string> folder;
    std::optional<int> days;
    std::string text;
    std::string file;
    std::optional<std::string> pinProject;
};

StudioFilter filterOf(const StudioOptions& options) {
    StudioFilter filter;
    if (!options.kind.empty()) {
        filter.kind = fileKindNamed(options.kind);
        if (!filter.kind)
            throw KeloError::unsafe("Unknown kind " + options.kind +
                                    "; use design-source, image, document, archive or other.");
    }
    filter.folder = options.folder;
    if (options.days && (*options.days < 0 || *options.days > kMaxFilterDays))
        throw KeloError::unsafe("--days must be between 0 and " + std::to_string(kMaxFilterDays) + ".");
    filter.days = options.days;
    filter.text = options.text;
    return filter;
}

void printList(std::ostream& out, const char* title, const StudioProjectView& view,
               const std::vector<std::size_t>& indices) {
    if (indices.empty()) return;
    out << title << " (" << indices.size() << "):\n";
    for (const auto i : indices) out << "  " << view.files[i].relativePath.string() << "\n";
}

void printStudio(std::ostream& out, const Snapshot& snapshot, const std::vector<std::size_t>& shown) {
    const StudioProjectView& view = *snapshot.inventory;
    const StudioInsights& in = view.insights;
    out << view.folder.string() << ": " << in.fileCount << " files in " << in.folderCount << " folders, "
        << formatBytes(in.totalBytes) << "\n";
    for (const auto& [folder, totals] : in.byFolder)
        out << "  " << std::left << std::setw(14) << (folder.empty() ? "(other)" : folder) << std::right << std::setw(6)
            << totals.count << "  " << formatBytes(totals.bytes) << "\n";
    for (const FileKind kind : kFileKinds) {
        const auto& totals = in.byKind[static_cast<std::size_t>(kind)];
        if (totals.count > 0)
            out << "  " << std::left << std::setw(14) << fileKindName(kind) << std::right << std::setw(6)
                << totals.count << "  " << formatBytes(totals.bytes) << "\n";
    }
    printList(out, "Newest", view, in.newest);
    printList(out, "Largest", view, in.largest);
    printList(out, "Not named for the project", view, in.offNaming);
    printList(out, "Not touched in 90 days", view, in.stale);
    const auto& board = *snapshot.studioBoard;
    if (!board.references.empty()) {
        out << "References (" << board.references.size() << "):\n";
        for (const auto& r : board.references)
            out << "  " << r.reference.path.string() << (r.missing ? "  (missing)" : "") << "\n";
    }
    out << "Files (" << shown.size() << " of " << view.files.size() << "):\n";
    for (const auto i : shown) {
        const StudioFile& file = view.files[i];
        out << "  " << std::left << std::setw(15) << fileKindName(file.kind) << std::right << std::setw(10)
            << formatBytes(file.identity.size) << "  " << file.relativePath.string() << "\n";
    }
}

int openStudio(EngineWorker& worker, const StudioOptions& options, bool json, std::ostream& out) {
    const StudioFilter filter = filterOf(options);
    const std::string project = options.project;
    const SnapshotPtr snapshot =
        worker.run([project](Engine& engine) { return StudioCommands::openStudio(engine, project); }).get();
    const auto shown = snapshot->inventory->filtered(filter);
    if (json) {
        out << formatDocument(Json{{"project", snapshot->inventoryProject->text()},
                                   {"inventory", studioInventoryJson(*snapshot->inventory, &shown)},
                                   {"insights", studioInsightsJson(*snapshot->inventory)},
                                   {"board", studioBoardJson(*snapshot->studioBoard)}});
        return 0;
    }
    printStudio(out, *snapshot, shown);
    return 0;
}

}  // namespace

void addStudioCommands(CLI::App& app, Commands& commands) {
    auto options = std::make_shared<StudioOptions>();
    auto* studio = app.add_subcommand("studio", "Open a project in the Studio: its insights, files and references");
    studio->add_option("PROJECT", options->project, "The project's name or id");
    studio->add_option("--kind", options->kind, "Only design-source, image, document, archive or other files")
        ->option_text("K");
    studio->add_option("--folder", options->folder, "Only files of this category folder (\"\" for the rest)")
        ->option_text("CATEGORY");
    studio->add_option("--days", options->days, "Only files modified within N days")->option_text("N");
    studio->add_option("--text", options->text, "Only files whose names hold these words")->option_text("T");
    Command open{studio, nullptr, printMessages};
    open.withWorker = [options](EngineWorker& worker, bool json, std::ostream& out) {
        if (options->project.empty()) throw KeloError::unsafe("Name the project to open in the Studio.");
        return openStudio(worker, *options, json, out);
    };
    commands.push_back(std::move(open));

    auto* pin = studio->add_subcommand("pin", "Pin a file to a project's references");
    pin->add_option("FILE", options->file, "A file of the project or of an inbox")->required();
    pin->add_option("--project", options->pinProject, "The project (else the one holding the file, or the last opened)")
        ->option_text("P");
    commands.push_back(
        {pin,
         [options](Engine& engine) { return StudioCommands::pinReference(engine, options->file, options->pinProject); },
         printMessages});

    auto* unpin = studio->add_subcommand("unpin", "Take a file off the references");
    unpin->add_option("FILE", options->file, "The pinned file")->required();
    commands.push_back({unpin,
                        [options](Engine& engine) { return StudioCommands::unpinReference(engine, options->file); },
                        printMessages});
}

}  // namespace kelo::cli
