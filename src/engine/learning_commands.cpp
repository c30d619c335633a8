#include "engine/learning_commands.h"

#include "classify/learning.h"
#include "classify/tokens.h"
#include "engine/sort_learning.h"
#include "model/kelo_error.h"

namespace kelo {

bool isIgnored(const AppState& state, const FileRecord& file) {
    return state.ignored.contains(file.fingerprint());
}

namespace LearningCommands {

namespace {

// Learning, assignments and ignored files all feed the classifications.
void commit(Engine& engine, AppState next) {
    engine.commitState(std::move(next));
    engine.invalidateClassifications();
}

SnapshotPtr commitLearning(Engine& engine, AppState next, std::vector<std::string> messages) {
    commit(engine, std::move(next));
    return engine.snapshot(std::move(messages));
}

// "1 decision", "2 decisions".
std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

SnapshotPtr feedback(Engine& engine, const std::filesystem::path& path, const std::string& projectName,
                     bool confirmed) {
    const FileRecord file = engine.findFile(path);
    const Project project = engine.findProject(projectName);
    // How the file is classified now: what the user is answering.
    const std::optional<Classification> current = SortLearning::classificationOf(engine, file);
    const std::string fingerprint = file.fingerprint();

    AppState next = engine.state();
    Learning learning(next.learning, engine.learningIndex());
    if (confirmed) {
        // Choosing another project than the one suggested also says the suggestion
        // was wrong, exactly as sorting the file by hand does.
        std::optional<Uuid> rejected;
        if (current && !current->candidates.empty()) {
            const Candidate top = current->candidates.front();
            if (top.score > 0 && top.projectID != project.id) rejected = top.projectID;
        }
        learning.record(file.filename(), project.id, rejected, Uuid::random(), engine.now());
        const Category category = current ? current->category : Category::infer(file.fileExtension());
        next.assignments[fingerprint] = Assignment{fingerprint, project.id, category};
        return commitLearning(
            engine, std::move(next),
            {"Confirmed that " + file.filename() + " belongs to " + project.name + ". The file was not moved."});
    }
    learning.record(file.filename(), std::nullopt, project.id, Uuid::random(), engine.now());
    if (const Assignment* stored = next.assignments.find(fingerprint); stored && stored->projectID == project.id)
        next.assignments.erase(fingerprint);
    return commitLearning(
        engine, std::move(next),
        {"Noted that " + file.filename() + " does not belong to " + project.name + ". The file was not moved."});
}

SnapshotPtr leaveAlone(Engine& engine, const std::filesystem::path& path) {
    const FileRecord file = engine.findFile(path);
    AppState next = engine.state();
    next.ignored.insert(file.fingerprint());
    return commitLearning(engine, std::move(next),
                          {file.filename() + " will be left alone until it changes. The file was not moved."});
}

SnapshotPtr ignoreCluster(Engine& engine, const std::string& token) {
    const std::string folded = Tokens::normalize(token);
    if (Tokens::all(folded).size() != 1)
        throw KeloError::unsafe("\"" + token + "\" is not a single word of a file name. Nothing changed.");
    AppState next = engine.state();
    next.ignoredClusters.insert(folded);
    commit(engine, std::move(next));
    engine.collectNameSuggestions();
    return engine.snapshot({"Files that share \"" + folded + "\" will no longer be offered as a new project."});
}

SnapshotPtr restoreIgnored(Engine& engine) {
    AppState next = engine.state();
    const std::size_t files = next.ignored.size();
    const std::size_t clusters = next.ignoredClusters.size();
    next.ignored.clear();
    next.ignoredClusters.clear();
    commit(engine, std::move(next));
    engine.collectNameSuggestions();
    return engine.snapshot(
        {"Restored " + counted(files, "ignored file") + " and " + counted(clusters, "ignored cluster") + "."});
}

SnapshotPtr resetLearning(Engine& engine) {
    AppState next = engine.state();
    const std::size_t decisions = next.learning.feedback.size();
    next.learning = LearningData{};
    return commitLearning(engine, std::move(next),
                          {"Learning was reset: " + counted(decisions, "decision") + " forgotten."});
}

SnapshotPtr reverseFeedback(Engine& engine, const std::string& idText) {
    const std::optional<Uuid> id = Uuid::parse(idText);
    AppState next = engine.state();
    std::string filename;
    for (const auto& entry : next.learning.feedback)
        if (id && entry.id == *id) {
            filename = entry.filename;
            break;
        }
    if (!id || !Learning(next.learning, engine.learningIndex()).reverse(*id))
        throw KeloError::unsafe("No learned decision has the id " + idText + ". Nothing changed.");
    return commitLearning(engine, std::move(next), {"Took back the decision about " + filename + "."});
}

}  // namespace LearningCommands
}  // namespace kelo
