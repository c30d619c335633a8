#include "cli/output.h"

#include "model/json_codec.h"

namespace kelo::cli {

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
