// ClassificationEngine: scores inbox files against every project and says how sure
// it is, every score built from named signals. It is built once per set of projects
// and learned associations (rebuild it when either changes) and indexes the projects
// by token, so a file costs a full scoring pass only for the projects it shares a
// token with, has a learned association with, or is assigned to; every other project
// is a blank score-0 candidate. A pure calculation: no file access, nothing stored.
// Any thread may call classify while nobody calls update; the engine keeps its own
// classifier on its thread and updates it between passes instead of rebuilding it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "classify/classification.h"
#include "classify/prepared_file.h"
#include "model/date.h"
#include "model/folder_grant.h"
#include "model/learning_data.h"
#include "model/project.h"
#include "model/settings.h"
#include "model/shared_map.h"

namespace kelo {

class ClassificationEngine {
public:
    // Copies what it needs from `projects` (in stored order) and `learning`.
    ClassificationEngine(const ProjectList& projects, const LearningData& learning);

    // `neighbors` may hold any files, `file` itself included: the engine applies the
    // exact relatedness test. `assignment` is the one stored for the file's fingerprint.
    Classification classify(const PreparedFile& file, std::span<const PreparedFile* const> neighbors,
                            const Thresholds& thresholds, const std::optional<Assignment>& assignment, Date now) const;
    // The same for plain records, tokenising each one here.
    Classification classify(const FileRecord& file, const std::vector<FileRecord>& neighbors,
                            const Thresholds& thresholds, const std::optional<Assignment>& assignment, Date now) const;

    // The engine worker's pass over a whole scan: each file classified with the
    // neighbours a NeighborIndex offers and the assignment stored for its fingerprint;
    // results in the order of `files`.
    std::vector<Classification> classifyAll(const std::vector<FileRecord>& files,
                                            const SharedMap<Assignment>& assignments,
                                            const Thresholds& thresholds, Date now) const;

    std::size_t projectCount() const { return projects_.size(); }

    // Brings the classifier in step with `projects` and `learning`, classifying from
    // then on exactly as one built from them would. When only the projects' status
    // and activity changed, costs what changed in the learning since the last build
    // or update (the chunks of associations not shared with it); otherwise rebuilds.
    void update(const ProjectList& projects, const LearningData& learning);

private:
    struct Name {
        std::string asWritten;
        std::vector<std::string> tokens;  // Tokens::all
        bool matchable = false;           // has a meaningful token, so it can match at all
    };
    struct ProjectEntry {
        Uuid id;
        ProjectStatus status = ProjectStatus::active;
        std::optional<Date> lastActivity;
        std::vector<Name> names;              // the name, then the aliases
        std::vector<std::string> nameTokens;  // meaningful tokens of the name alone, ascending
    };
    // One learned association with a non-zero strength.
    struct Learned {
        std::uint32_t project = 0;  // index into projects_
        std::uint32_t order = 0;    // position in the stored associations
        int strength = 0;
        const std::string* token = nullptr;  // the key it is filed under in byToken_
    };
    struct FileContext;
    // The projects worth a full scoring pass for one file, ascending, and the learned
    // associations of its tokens, by project and then stored order.
    struct Evidence {
        std::vector<std::uint32_t> projects;
        std::vector<Learned> learned;
    };

    // The phases of classify, in order.
    static std::vector<const PreparedFile*> relatedNeighbors(const PreparedFile& file,
                                                             std::span<const PreparedFile* const> neighbors);
    Classification classify(const PreparedFile& file, const Thresholds& thresholds,
                            const std::optional<Assignment>& assignment, Date now,
                            const std::function<std::int64_t(const ProjectEntry&)>& relatedCount) const;
    Evidence gatherEvidence(const FileContext& context) const;
    CandidateList rank(const FileContext& context, const Evidence& evidence) const;
    ConfidenceState decideState(const CandidateList& candidates, const Thresholds& thresholds) const;

    Candidate score(const ProjectEntry& project, const FileContext& context, std::span<const Learned> learned) const;
    static bool namesMatch(const ProjectEntry& project, const std::vector<std::string>& tokens);

    // Files the association at `order` under its token, or takes it out again.
    void learn(std::size_t order, const Association& association);
    void forget(std::size_t order, const Association& association);
    // Whether `projects` has the same ids, names and aliases in the same order as the
    // list the index was built from; looks only into the chunks the two do not share.
    bool sameNames(const ProjectList& projects) const;

    std::vector<ProjectEntry> projects_;
    // What one token of a file can lead to.
    struct TokenEntry {
        std::vector<std::uint32_t> projects;  // projects with the token in a name or alias
        std::vector<Learned> learned;         // associations of the token, in stored order
    };

    std::unordered_map<std::string, TokenEntry> byToken_;
    std::unordered_map<Uuid, std::uint32_t> firstIndexById_;
    std::shared_ptr<const std::vector<Uuid>> idsAscending_;
    ChunkedList<Association> learnedFrom_;  // the associations filed in byToken_, shared
    ProjectList projectsFrom_;               // the projects projects_ reflects, shared
};

// One-off form for callers that classify a single file.
Classification classify(const FileRecord& file, const ProjectList& projects, const LearningData& learning,
                        const std::vector<FileRecord>& neighbors, const Thresholds& thresholds,
                        const std::optional<Assignment>& assignment, Date now);

// Files that share a meaningful token, three or more to a group.
struct Cluster {
    std::string token;
    std::vector<FileRecord> files;  // in input order

    friend bool operator==(const Cluster&, const Cluster&) = default;
};

// Groups files by each meaningful token of their names not in `ignored`; keeps
// groups of 3 or more, sorted by token.
std::vector<Cluster> clusters(const std::vector<FileRecord>& files, const std::set<std::string>& ignored);

}  // namespace kelo
