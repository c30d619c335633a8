#include "cli/output.h"

#include <algorithm>

#include "model/json_codec.h"

namespace kelo::cli {

namespace {

std::string projectName(const Snapshot& snapshot, const Uuid& id) {
    for (const auto& project : snapshot.state->projects)
        if (project.id == id) return project.name;
    return id.text();
}

// Pads to `width` terminal columns, counting UTF-8 characters rather than bytes.
std::string padded(const std::string& text, std::size_t width) {
    std::size_t columns = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80) ++columns;
    return columns >= width ? text + " " : text + std::string(width - columns, ' ');
}

}  // namespace

void printInbox(std::ostream& out, const Snapshot& snapshot) {
    const auto& classifications = *snapshot.classifications;
    if (snapshot.state->grants.empty()) {
        out << "No folders approved yet. Approve an inbox and a project home:\n"
            << "  kelo grant add --watch ~/Downloads\n  kelo grant add --home ~/Projects\n";
    } else if (classifications.empty()) {
        out << "The inboxes hold no loose files.\n";
    }
    std::size_t nameWidth = 4;
    for (const auto& c : classifications) nameWidth = std::max(nameWidth, std::min<std::size_t>(c.file.filename().size(), 48));
    if (!classifications.empty())
        out << padded("STATE", 10) << padded("FILE", nameWidth + 2) << padded("PROJECT", 24) << "SCORE\n";
    for (const auto& c : classifications) {
        const bool hasTop = !c.candidates.empty() && c.candidates.front().score > 0;
        const std::string project = hasTop ? projectName(snapshot, c.candidates.front().projectID) : "-";
        const int score = hasTop ? c.candidates.front().score : 0;
        out << padded(std::string(rawValue(c.state)), 10) << padded(c.file.filename(), nameWidth + 2)
            << padded(project, 24) << score << "\n";
        if (c.unsortable) out << "          " << *c.unsortable << "\n";
        if (hasTop) {
            for (const auto& signal : c.candidates.front().signals)
                out << "          " << (signal.points >= 0 ? "+" : "") << signal.points << "  " << signal.reason << "\n";
            if (c.state != ConfidenceState::noIdea)
                out << "          -> " << rawValue(c.category) << " folder of " << project << "\n";
        }
    }
    if (snapshot.nameSuggestions && !snapshot.nameSuggestions->empty()) {
        out << "Possible new projects:\n";
        for (const auto& s : *snapshot.nameSuggestions)
            out << "  " << s.name << " (" << s.fileCount << " files share \"" << s.token << "\")\n";
    }
    printMessages(out, snapshot);
}

void printRun(std::ostream& out, const Snapshot& snapshot) {
    bool conflict = false;
    for (const auto& message : snapshot.messages) {
        out << message << "\n";
        if (message.find("Name conflict: ") != std::string::npos) conflict = true;
    }
    if (snapshot.state->settings.dryRun)
        out << "Dry run is on: nothing was changed. Turn it off with: kelo settings --dry-run off\n";
    if (conflict) out << "To keep both files: kelo keep-both FILE --project PROJECT\n";
    for (const auto& issue : snapshot.issues) out << "  ! " << issue << "\n";
}

void printHistory(std::ostream& out, const Snapshot& snapshot) {
    if (!snapshot.history || snapshot.history->empty()) {
        out << "Nothing has been done yet.\n";
        return;
    }
    for (const auto& batch : *snapshot.history) {
        if (batch.undoes) {
            out << localTimestamp(batch.date) << "  undo of batch " << batch.undoes->text() << ": " << batch.putBack
                << " put back, " << batch.skipped << " skipped, " << batch.failed << " failed\n    batch "
                << batch.id.text() << "\n";
            continue;
        }
        out << localTimestamp(batch.date) << "  " << batch.moved << " moved, " << batch.renamed << " renamed, "
            << batch.skipped << " skipped, " << batch.failed << " failed";
        if (batch.undone > 0) out << ", " << batch.undone << " undone";
        out << "\n    batch " << batch.id.text();
        if (batch.canUndo) out << "  (undo: kelo undo " << batch.id.text() << ")";
        out << "\n";
    }
}

void printSettings(std::ostream& out, const Snapshot& snapshot) {
    const Settings& s = snapshot.state->settings;
    out << "Dry run:          " << (s.dryRun ? "on  (turn off with: kelo settings --dry-run off)" : "off") << "\n"
        << "Ready at:         " << s.thresholds.ready << "\n"
        << "Probably at:      " << s.thresholds.probably << "\n"
        << "Display name:     " << s.displayName.value_or("-") << "\n"
        << "Preset:           " << (s.usagePreset ? std::string(rawValue(*s.usagePreset)) : "-") << "\n"
        << "Group by sub-job: " << (s.autoGroupBySubjob() ? "on" : "off") << "\n";
    printMessages(out, snapshot);
}

void printProjects(std::ostream& out, const Snapshot& snapshot) {
    if (snapshot.state->projects.empty()) out << "No projects yet.\n";
    for (const auto& project : snapshot.state->projects) {
        out << project.name << "  [" << rawValue(project.status) << "]  " << project.destinationFolder.string();
        if (!project.aliases.empty()) {
            out << "  aliases:";
            for (const auto& alias : project.aliases) out << " \"" << alias << "\"";
        }
        out << "\n    id " << project.id.text() << "\n";
    }
    printMessages(out, snapshot);
}

void printGrants(std::ostream& out, const Snapshot& snapshot) {
    if (snapshot.state->grants.empty()) out << "No approved folders yet.\n";
    for (const auto& grant : snapshot.state->grants) {
        out << (grant.role == FolderGrant::Role::watch ? "inbox         " : "project home  ") << grant.displayPath
            << "\n    id " << grant.id.text() << "\n";
    }
    printMessages(out, snapshot);
}

void printMessages(std::ostream& out, const Snapshot& snapshot) {
    for (const auto& message : snapshot.messages) out << message << "\n";
    if (!snapshot.issues.empty()) {
        out << "Issues:\n";
        for (const auto& issue : snapshot.issues) out << "  ! " << issue << "\n";
    }
    if (snapshot.aiStorageIssue) out << "  ! " << *snapshot.aiStorageIssue << "\n";
}

}  // namespace kelo::cli
