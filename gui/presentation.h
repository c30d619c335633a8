// How the pages put a snapshot's values into words: project names, counts by
// confidence state, the preview of a one-click clean, dates and signals. Pure
// functions of a snapshot; any thread may call them.
#pragma once

#include <QString>
#include <QStringList>
#include <string>

#include "engine/snapshot.h"

namespace kelo::gui {

inline QString qs(const std::string& text) {
    return QString::fromStdString(text);
}
inline QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The project's name, or its id text when the snapshot no longer holds it.
QString projectName(const Snapshot& snapshot, const Uuid& id);

struct StateCounts {
    int ready = 0;
    int probably = 0;
    int noIdea = 0;
};
StateCounts countStates(const Snapshot& snapshot);

// The leading candidate when it scored above zero.
std::optional<Candidate> topCandidate(const Classification& classification);

// One line per "Ready" file not left alone: where the clean would put it.
QStringList cleanPreview(const Snapshot& snapshot);

// Signals as "+40 Alias: ACME; -10 Rejected token: logo".
QString signalsText(const Candidate& candidate);

// Local date and time, day first.
QString formatDate(Date date);

QString presetTitle(UsagePreset preset);

}  // namespace kelo::gui
