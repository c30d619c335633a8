#include "classify/classification_engine.h"

#include <algorithm>
#include <functional>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

#include "classify/neighbor_index.h"
#include "classify/tokens.h"

namespace kelo {

namespace {

constexpr int kLongAliasPoints = 78;
constexpr int kShortAliasPoints = 72;
constexpr int kPartialNamePoints = 32;
constexpr int kActiveProjectPoints = 10;
constexpr int kQuietProjectPoints = 4;
constexpr double kRecentActivitySeconds = 604'800;  // 7 days
constexpr int kRelatedFilePoints = 9;
constexpr int kRelatedFilesLimit = 18;
constexpr double kExportWindowSeconds = 600;
constexpr int kExplicitPoints = 100;
constexpr int kAmbiguityMargin = 14;
constexpr int kAmbiguityCap = 69;

bool sharesToken(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    auto i = a.begin();
    auto j = b.begin();
    while (i != a.end() && j != b.end()) {
        if (*i == *j) return true;
        if (*i < *j)
            ++i;
        else
            ++j;
    }
    return false;
}

void add(Candidate& candidate, std::string_view reason, int points) {
    candidate.signals.push_back(Signal{std::string(reason), points});
}

void add(Candidate& candidate, std::string_view reason, const std::string& detail, int points) {
    std::string text(reason);
    text += detail;
    candidate.signals.push_back(Signal{std::move(text), points});
}

bool rankedBefore(const Candidate& a, const Candidate& b) {
    if (a.score != b.score) return a.score > b.score;
    // Canonical upper-case UUID text orders exactly as the bytes do.
    return a.projectID < b.projectID;
}

}  // namespace

// What one file brings to every project's scoring.
struct ClassificationEngine::FileContext {
    const PreparedFile& file;
    // How many related files (every test but the name match passed by the caller's
    // source) match this project's names, counted no further than the cap needs.
    std::function<std::int64_t(const ProjectEntry& project)> relatedCount;
    bool assigned = false;                     // the assignment is for this very file
    std::optional<Uuid> assignedProject;
    Date now;
};

ClassificationEngine::ClassificationEngine(const ProjectList& projects, const LearningData& learning)
    : projectsFrom_(projects) {
    projects_.reserve(projects.size());
    auto ids = std::make_shared<std::vector<Uuid>>();
    ids->reserve(projects.size());
    for (const auto& project : projects) {
        const auto index = static_cast<std::uint32_t>(projects_.size());
        ProjectEntry entry{project.id, project.status, project.lastActivity, {}, {}};
        std::vector<std::string> indexTokens;
        auto addName = [&](const std::string& text) {
            Name name{text, Tokens::all(text), false};
            const auto meaningful = Tokens::meaningfulOf(name.tokens);
            name.matchable = !meaningful.empty();
            // A name can only match a file whose meaningful tokens include its own.
            indexTokens.insert(indexTokens.end(), meaningful.begin(), meaningful.end());
            entry.names.push_back(std::move(name));
        };
        addName(project.name);
        entry.nameTokens = Tokens::meaningfulOf(entry.names.front().tokens);
        for (const auto& alias : project.aliases) addName(alias);
        std::sort(indexTokens.begin(), indexTokens.end());
        indexTokens.erase(std::unique(indexTokens.begin(), indexTokens.end()), indexTokens.end());
        for (const auto& token : indexTokens) byToken_[token].projects.push_back(index);
        firstIndexById_.emplace(project.id, index);
        ids->push_back(project.id);
        projects_.push_back(std::move(entry));
    }
    std::sort(ids->begin(), ids->end());
    idsAscending_ = std::move(ids);

    for (std::size_t order = 0; order < learning.associations.size(); ++order)
        learn(order, learning.associations[order]);
    learnedFrom_ = learning.associations;
}

void ClassificationEngine::learn(std::size_t order, const Association& association) {
    const int strength = association.strength();
    auto project = firstIndexById_.find(association.projectID);
    if (strength == 0 || project == firstIndexById_.end()) return;
    auto [slot, inserted] = byToken_.try_emplace(association.token);
    auto& learned = slot->second.learned;
    const auto at = std::lower_bound(learned.begin(), learned.end(), order,
                                     [](const Learned& entry, std::size_t o) { return entry.order < o; });
    learned.insert(at, Learned{project->second, static_cast<std::uint32_t>(order), strength, &slot->first});
}

void ClassificationEngine::forget(std::size_t order, const Association& association) {
    const auto slot = byToken_.find(association.token);
    if (slot == byToken_.end()) return;
    auto& learned = slot->second.learned;
    const auto at = std::lower_bound(learned.begin(), learned.end(), order,
                                     [](const Learned& entry, std::size_t o) { return entry.order < o; });
    if (at != learned.end() && at->order == order) learned.erase(at);
    if (learned.empty() && slot->second.projects.empty()) byToken_.erase(slot);
}

bool ClassificationEngine::sameNames(const ProjectList& projects) const {
    if (projects.size() != projectsFrom_.size()) return false;
    bool same = true;
    projects.forEachChanged(projectsFrom_, [&](std::size_t i) {
        const auto& before = projectsFrom_[i];
        const auto& project = projects[i];
        same = same && before.id == project.id && before.name == project.name && before.aliases == project.aliases;
    });
    return same;
}

void ClassificationEngine::update(const ProjectList& projects, const LearningData& learning) {
    if (!sameNames(projects)) {
        *this = ClassificationEngine(projects, learning);
        return;
    }
    projects.forEachChanged(projectsFrom_, [&](std::size_t i) {
        projects_[i].status = projects[i].status;
        projects_[i].lastActivity = projects[i].lastActivity;
    });
    projectsFrom_ = projects;
    const auto& now = learning.associations;
    const auto& before = learnedFrom_;
    now.forEachChanged(before, [&](std::size_t order) {
        forget(order, before[order]);
        learn(order, now[order]);
    });
    for (std::size_t order = now.size(); order < before.size(); ++order) forget(order, before[order]);
    for (std::size_t order = before.size(); order < now.size(); ++order) learn(order, now[order]);
    learnedFrom_ = now;
}

bool ClassificationEngine::namesMatch(const ProjectEntry& project, const std::vector<std::string>& tokens) {
    return std::any_of(project.names.begin(), project.names.end(),
                       [&](const Name& name) { return Tokens::containsRun(tokens, name.tokens, !name.matchable); });
}

Candidate ClassificationEngine::score(const ProjectEntry& project, const FileContext& context,
                                      std::span<const Learned> learned) const {
    Candidate candidate{project.id, 0, {}};
    if (context.assigned && context.assignedProject == project.id) {
        add(candidate, reason::kExplicit, kExplicitPoints);
        candidate.score = kExplicitPoints;
        return candidate;
    }
    const auto& file = context.file;

    // Name and aliases: the matching one with the most tokens, the earlier on a tie.
    const Name* matched = nullptr;
    for (const auto& name : project.names)
        if (Tokens::containsRun(file.tokens, name.tokens, !name.matchable) &&
            (matched == nullptr || name.tokens.size() > matched->tokens.size()))
            matched = &name;
    if (matched != nullptr) {
        add(candidate, reason::kAlias, matched->asWritten,
            matched->tokens.size() >= 2 ? kLongAliasPoints : kShortAliasPoints);
    } else if (sharesToken(project.nameTokens, file.meaningful)) {
        add(candidate, reason::kPartialName, kPartialNamePoints);
    }

    // Learned associations, in stored order: the strongest lifts the score to its
    // strength (never on top of stronger evidence); the most negative subtracts.
    const Learned* strongest = nullptr;
    const Learned* weakest = nullptr;
    for (const auto& entry : learned) {
        if (entry.strength > 0 && (strongest == nullptr || entry.strength > strongest->strength)) strongest = &entry;
        if (entry.strength < 0 && (weakest == nullptr || entry.strength < weakest->strength)) weakest = &entry;
    }
    if (strongest != nullptr) {
        int positiveSoFar = 0;
        for (const auto& signal : candidate.signals) positiveSoFar += std::max(signal.points, 0);
        add(candidate, reason::kLearned, *strongest->token, std::max(strongest->strength - positiveSoFar, 0));
    }
    if (weakest != nullptr) add(candidate, reason::kRejected, *weakest->token, weakest->strength);

    // Context only strengthens a project that already has positive evidence.
    const bool hasEvidence =
        std::any_of(candidate.signals.begin(), candidate.signals.end(), [](const Signal& s) { return s.points >= 1; });
    if (hasEvidence) {
        if (project.lastActivity) {
            const double age = context.now.secondsSince(*project.lastActivity);
            if (age >= 0 && age < kRecentActivitySeconds)
                add(candidate, reason::kRecentActivity,
                    project.status == ProjectStatus::active ? kActiveProjectPoints : kQuietProjectPoints);
        }
        const auto related = context.relatedCount(project);
        if (related > 0)
            add(candidate, reason::kRelatedFiles,
                static_cast<int>(std::min<std::int64_t>(kRelatedFilePoints * related, kRelatedFilesLimit)));
    }

    const int sum = std::accumulate(candidate.signals.begin(), candidate.signals.end(), 0,
                                    [](int total, const Signal& s) { return total + s.points; });
    candidate.score = std::clamp(sum, 0, 100);
    return candidate;
}

std::vector<const PreparedFile*> ClassificationEngine::relatedNeighbors(
    const PreparedFile& file, std::span<const PreparedFile* const> neighbors) {
    std::vector<const PreparedFile*> related;
    for (const PreparedFile* other : neighbors) {
        if (other->fingerprint == file.fingerprint ||
            other->record.sourceFolder.native() != file.record.sourceFolder.native())
            continue;
        const double apart = other->record.identity.modified.secondsSince(file.record.identity.modified);
        if (std::abs(apart) > kExportWindowSeconds || !sharesToken(other->meaningful, file.meaningful)) continue;
        related.push_back(other);
    }
    return related;
}

ClassificationEngine::Evidence ClassificationEngine::gatherEvidence(const FileContext& context) const {
    Evidence evidence;
    for (const auto& token : context.file.meaningful) {
        auto hit = byToken_.find(token);
        if (hit == byToken_.end()) continue;
        evidence.learned.insert(evidence.learned.end(), hit->second.learned.begin(), hit->second.learned.end());
        evidence.projects.insert(evidence.projects.end(), hit->second.projects.begin(), hit->second.projects.end());
    }
    std::sort(evidence.learned.begin(), evidence.learned.end(), [](const Learned& a, const Learned& b) {
        return std::tie(a.project, a.order) < std::tie(b.project, b.order);
    });
    for (const auto& entry : evidence.learned) evidence.projects.push_back(entry.project);
    if (context.assigned)
        if (auto index = firstIndexById_.find(*context.assignedProject); index != firstIndexById_.end())
            evidence.projects.push_back(index->second);
    std::sort(evidence.projects.begin(), evidence.projects.end());
    evidence.projects.erase(std::unique(evidence.projects.begin(), evidence.projects.end()), evidence.projects.end());
    return evidence;
}

CandidateList ClassificationEngine::rank(const FileContext& context, const Evidence& evidence) const {
    std::vector<Candidate> ranked;
    std::vector<Candidate> zero;
    auto learnedFrom = evidence.learned.begin();
    for (const auto index : evidence.projects) {
        while (learnedFrom != evidence.learned.end() && learnedFrom->project < index) ++learnedFrom;
        auto learnedTo = learnedFrom;
        while (learnedTo != evidence.learned.end() && learnedTo->project == index) ++learnedTo;
        Candidate candidate = score(projects_[index], context, std::span<const Learned>(learnedFrom, learnedTo));
        learnedFrom = learnedTo;
        if (candidate.score > 0) {
            ranked.push_back(std::move(candidate));
        } else if (!candidate.signals.empty()) {
            zero.push_back(std::move(candidate));
        }
    }
    std::stable_sort(ranked.begin(), ranked.end(), rankedBefore);
    std::stable_sort(zero.begin(), zero.end(),
                     [](const Candidate& a, const Candidate& b) { return a.projectID < b.projectID; });

    // Two leaders within a few points of each other need the user to choose, unless
    // the user already chose for this very file. Not re-sorted afterwards.
    if (projects_.size() >= 2 && !ranked.empty() && !context.assigned) {
        Candidate& leader = ranked.front();
        const int runnerUp = ranked.size() >= 2 ? ranked[1].score : 0;
        if (leader.score - runnerUp <= kAmbiguityMargin) {
            const int capped = std::min(leader.score, kAmbiguityCap);
            add(leader, reason::kAmbiguous, capped - leader.score);
            leader.score = capped;
        }
    }
    return CandidateList(std::move(ranked), std::move(zero), idsAscending_);
}

ConfidenceState ClassificationEngine::decideState(const CandidateList& candidates, const Thresholds& thresholds) const {
    if (candidates.empty()) return state(thresholds, 0);
    const Candidate top = candidates.front();
    auto index = firstIndexById_.find(top.projectID);
    const bool archived = index != firstIndexById_.end() && projects_[index->second].status == ProjectStatus::archived;
    // Deliberately never "Ready" for an archived project.
    if (archived && top.score >= thresholds.probably) return ConfidenceState::probably;
    return state(thresholds, top.score);
}

Classification ClassificationEngine::classify(const PreparedFile& file, std::span<const PreparedFile* const> neighbors,
                                              const Thresholds& thresholds, const std::optional<Assignment>& assignment,
                                              Date now) const {
    const auto related = relatedNeighbors(file, neighbors);
    return classify(file, thresholds, assignment, now, [&related](const ProjectEntry& project) {
        return static_cast<std::int64_t>(std::count_if(related.begin(), related.end(), [&](const PreparedFile* other) {
            return namesMatch(project, other->tokens);
        }));
    });
}

Classification ClassificationEngine::classify(
    const PreparedFile& file, const Thresholds& thresholds, const std::optional<Assignment>& assignment, Date now,
    const std::function<std::int64_t(const ProjectEntry&)>& relatedCount) const {
    FileContext context{file, relatedCount, false, std::nullopt, now};
    if (assignment && assignment->fingerprint == file.fingerprint) {
        context.assigned = true;
        context.assignedProject = assignment->projectID;
    }
    Classification result;
    result.file = file.record;
    result.candidates = rank(context, gatherEvidence(context));
    result.state = decideState(result.candidates, thresholds);
    result.category = context.assigned ? assignment->category : Category::infer(file.record.fileExtension());
    return result;
}

Classification ClassificationEngine::classify(const FileRecord& file, const std::vector<FileRecord>& neighbors,
                                              const Thresholds& thresholds, const std::optional<Assignment>& assignment,
                                              Date now) const {
    std::vector<PreparedFile> prepared;
    prepared.reserve(neighbors.size());
    for (const auto& neighbor : neighbors) prepared.push_back(PreparedFile::make(neighbor));
    std::vector<const PreparedFile*> pointers;
    pointers.reserve(prepared.size());
    for (const auto& neighbor : prepared) pointers.push_back(&neighbor);
    return classify(PreparedFile::make(file), pointers, thresholds, assignment, now);
}

std::vector<Classification> ClassificationEngine::classifyAll(const std::vector<FileRecord>& files,
                                                              const SharedMap<Assignment>& assignments,
                                                              const Thresholds& thresholds, Date now) const {
    std::vector<PreparedFile> prepared;
    prepared.reserve(files.size());
    for (const auto& file : files) prepared.push_back(PreparedFile::make(file));

    // Related files of one project are found through the files whose names match it,
    // filed by folder and project in time order; a file looks only at the export
    // window around its own time and stops at the cap, so a crowded inbox (thousands
    // of files sharing a word, downloaded together) stays linear.
    struct Filed {
        double modified;
        std::uint32_t file;
    };
    std::unordered_map<std::string, std::vector<Filed>> byFolderAndProject;
    for (std::uint32_t i = 0; i < prepared.size(); ++i) {
        const auto& file = prepared[i];
        std::vector<std::uint32_t> reached;
        for (const auto& token : file.meaningful)
            if (auto hit = byToken_.find(token); hit != byToken_.end())
                reached.insert(reached.end(), hit->second.projects.begin(), hit->second.projects.end());
        std::sort(reached.begin(), reached.end());
        reached.erase(std::unique(reached.begin(), reached.end()), reached.end());
        for (std::uint32_t project : reached) {
            if (!namesMatch(projects_[project], file.tokens)) continue;
            byFolderAndProject[file.record.sourceFolder.native() + '\0' + std::to_string(project)].push_back(
                {file.record.identity.modified.sinceReference, i});
        }
    }
    for (auto& [key, filed] : byFolderAndProject)
        std::sort(filed.begin(), filed.end(), [](const Filed& a, const Filed& b) { return a.modified < b.modified; });

    const std::int64_t cap = (kRelatedFilesLimit + kRelatedFilePoints - 1) / kRelatedFilePoints;
    std::vector<Classification> out;
    out.reserve(prepared.size());
    for (const auto& file : prepared) {
        std::optional<Assignment> assignment;
        if (const Assignment* stored = assignments.find(file.fingerprint)) assignment = *stored;
        const double at = file.record.identity.modified.sinceReference;
        auto relatedCount = [&](const ProjectEntry& project) -> std::int64_t {
            const auto index = static_cast<std::size_t>(&project - projects_.data());
            auto hit = byFolderAndProject.find(file.record.sourceFolder.native() + '\0' + std::to_string(index));
            if (hit == byFolderAndProject.end()) return 0;
            const auto& filed = hit->second;
            std::int64_t count = 0;
            auto it = std::lower_bound(filed.begin(), filed.end(), at - kExportWindowSeconds,
                                       [](const Filed& f, double t) { return f.modified < t; });
            for (; it != filed.end() && it->modified <= at + kExportWindowSeconds && count < cap; ++it) {
                const PreparedFile& other = prepared[it->file];
                if (other.fingerprint == file.fingerprint || !sharesToken(other.meaningful, file.meaningful)) continue;
                ++count;
            }
            return count;
        };
        out.push_back(classify(file, thresholds, assignment, now, relatedCount));
    }
    return out;
}

Classification classify(const FileRecord& file, const ProjectList& projects, const LearningData& learning,
                        const std::vector<FileRecord>& neighbors, const Thresholds& thresholds,
                        const std::optional<Assignment>& assignment, Date now) {
    return ClassificationEngine(projects, learning).classify(file, neighbors, thresholds, assignment, now);
}

std::vector<Cluster> clusters(const std::vector<FileRecord>& files, const std::set<std::string>& ignored) {
    std::map<std::string, std::vector<std::size_t>> groups;
    for (std::size_t i = 0; i < files.size(); ++i)
        for (auto& token : Tokens::meaningful(Tokens::withoutExtension(files[i].filename())))
            if (!ignored.contains(token)) groups[std::move(token)].push_back(i);
    std::vector<Cluster> out;
    for (auto& [token, members] : groups) {
        if (members.size() < 3) continue;
        Cluster cluster{token, {}};
        for (auto i : members) cluster.files.push_back(files[i]);
        out.push_back(std::move(cluster));
    }
    return out;
}

}  // namespace kelo
