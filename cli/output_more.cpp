#include "cli/output_more.h"

#include "cli/output.h"
#include "model/json_codec.h"

namespace kelo::cli {

namespace {

std::string projectName(const Snapshot& snapshot, const Uuid& id) {
    for (const auto& project : snapshot.state->projects)
        if (project.id == id) return project.name;
    return "(removed project " + id.text() + ")";
}

}  // namespace

void printSuggestions(std::ostream& out, const Snapshot& snapshot) {
    if (!snapshot.nameSuggestions || snapshot.nameSuggestions->empty()) {
        out << "No new project names to suggest.\n";
    } else {
        for (const auto& s : *snapshot.nameSuggestions)
            out << s.name << "  (" << s.fileCount << " files share \"" << s.token << "\")\n"
                << "    kelo suggestions accept " << s.token << "   |   kelo suggestions defer " << s.token << "\n";
    }
    printMessages(out, snapshot);
}

void printFeedback(std::ostream& out, const Snapshot& snapshot) {
    const auto& entries = snapshot.state->learning.feedback;
    if (entries.empty()) out << "Nothing learned yet.\n";
    for (const auto& entry : entries) {
        out << entry.filename;
        if (entry.confirmed) out << "  belongs to " << projectName(snapshot, *entry.confirmed);
        if (entry.rejected) out << (entry.confirmed ? ", " : "  ") << "not " << projectName(snapshot, *entry.rejected);
        out << "\n    id " << entry.id.text() << "\n";
    }
    printMessages(out, snapshot);
}

}  // namespace kelo::cli
