#include "gui/presentation.h"

#include <QDateTime>

#include "engine/learning_commands.h"

namespace kelo::gui {

QString projectName(const Snapshot& snapshot, const Uuid& id) {
    for (const auto& project : snapshot.state->projects)
        if (project.id == id) return qs(project.name);
    return qs(id.text());
}

StateCounts countStates(const Snapshot& snapshot) {
    StateCounts counts;
    if (!snapshot.classifications) return counts;
    for (const auto& c : *snapshot.classifications) {
        switch (c.state) {
            case ConfidenceState::ready: ++counts.ready; break;
            case ConfidenceState::probably: ++counts.probably; break;
            case ConfidenceState::noIdea: ++counts.noIdea; break;
        }
    }
    return counts;
}

std::optional<Candidate> topCandidate(const Classification& classification) {
    if (classification.candidates.empty()) return std::nullopt;
    Candidate top = classification.candidates.front();
    if (top.score <= 0) return std::nullopt;
    return top;
}

QStringList cleanPreview(const Snapshot& snapshot) {
    QStringList lines;
    if (!snapshot.classifications) return lines;
    for (const auto& c : *snapshot.classifications) {
        if (c.state != ConfidenceState::ready || isIgnored(*snapshot.state, c.file)) continue;
        const auto top = topCandidate(c);
        if (!top) continue;
        lines << QStringLiteral("%1  →  %2 / %3")
                     .arg(qs(c.file.filename()), projectName(snapshot, top->projectID), qs(rawValue(c.category)));
    }
    return lines;
}

QString signalsText(const Candidate& candidate) {
    QStringList parts;
    for (const auto& signal : candidate.signals)
        parts << QStringLiteral("%1%2 %3").arg(signal.points >= 0 ? "+" : "").arg(signal.points).arg(qs(signal.reason));
    return parts.join(QStringLiteral("; "));
}

QString formatDate(Date date) {
    const auto ms = static_cast<qint64>(date.sinceUnixEpoch() * 1000.0);
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("dd/MM/yyyy HH:mm"));
}

QString presetTitle(UsagePreset preset) {
    return qs(presetValues(preset).title);
}

}  // namespace kelo::gui
