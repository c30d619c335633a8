// The engine keeps its learning index and classifier across commands and brings
// them in step with each new state; both must answer exactly as ones built afresh.
#include <gtest/gtest.h>

#include <random>

#include "classify/classification_engine.h"
#include "classify/learning.h"

namespace kelo {
namespace {

TEST(IncrementalLearningTest, IndexAndClassifierKeptAcrossDecisionsMatchARebuild) {
    std::mt19937 random(19);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::vector<Project> projects;
    for (const char* name : {"Hydro Cafe", "Minh Long", "Sao Mai", "Bep Nha"})
        projects.push_back(Project::make(name, "/p", {}, ProjectStatus::active, Date{0}));
    const std::vector<std::string> words = {"hydro", "cafe", "minh", "long", "sao", "mai", "bep", "menu", "logo"};
    std::vector<FileRecord> files;
    for (const auto& word : words) {
        FileRecord file;
        file.url = "/in/" + word + " menu draft.png";
        file.sourceFolder = "/in";
        files.push_back(file);
    }

    LearningData committed;  // what the engine holds, changed through its kept index
    LearningData reference;  // the same decisions, each through a fresh Learning
    LearningIndex index;
    ClassificationEngine classifier(projects, committed);
    int next = 0;
    for (int step = 0; step < 1000; ++step) {
        const auto roll = pick(100);
        LearningData changed = committed;
        Learning learning(changed, index);
        if (roll < 70) {
            // Mostly a fresh word each time, so the lists span several chunks.
            const std::string name = words[pick(words.size())] + " " + words[pick(words.size())] + " w" +
                                     std::to_string(pick(2000)) + ".png";
            std::optional<Uuid> confirmed, rejected;
            if (pick(4) != 0) confirmed = projects[pick(projects.size())].id;
            if (pick(3) == 0) rejected = projects[pick(projects.size())].id;
            Uuid id;
            id.bytes[14] = static_cast<std::uint8_t>(++next >> 8);
            id.bytes[15] = static_cast<std::uint8_t>(next);
            learning.record(name, confirmed, rejected, id, Date{1.0 * step});
            if (roll < 5) continue;  // a save that failed: the change is dropped
            Learning(reference).record(name, confirmed, rejected, id, Date{1.0 * step});
        } else if (roll < 92 && !committed.feedback.empty()) {
            const Uuid id = committed.feedback[pick(committed.feedback.size())].id;
            ASSERT_TRUE(learning.reverse(id));
            ASSERT_TRUE(Learning(reference).reverse(id));
        } else if (roll < 94 && step < 300) {
            changed = LearningData{};
            reference = LearningData{};
        } else if (roll < 98) {
            projects[pick(projects.size())].lastActivity = Date{1.0 * step};
        } else {
            projects[pick(projects.size())].aliases = {words[pick(words.size())]};
        }
        committed = std::move(changed);
        ASSERT_EQ(committed, reference) << "step " << step;

        classifier.update(projects, committed);
        const ClassificationEngine rebuilt(projects, committed);
        const Date now{700.0};
        ASSERT_EQ(classifier.classifyAll(files, {}, Thresholds{}, now),
                  rebuilt.classifyAll(files, {}, Thresholds{}, now))
            << "step " << step;
    }
    index.sync(committed.associations);
    EXPECT_TRUE(index.isConsistentWith(committed.associations));
    EXPECT_GT(committed.associations.size(), ChunkedList<Association>::kChunk);  // several chunks
}

}  // namespace
}  // namespace kelo
