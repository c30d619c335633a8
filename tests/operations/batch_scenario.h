// A batch scenario shared by the crash, kill and fault harnesses and the executor's
// own tests: one inbox, one project home, files to move (some into folders that do
// not exist yet, one onto a name that is taken), and the check of every promise the
// operations layer makes.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "operations/operation_executor.h"
#include "scan/metadata.h"
#include "support/temp_dir.h"

namespace kelo::testing {

namespace fs = std::filesystem;

struct Scenario {
    TempDir dir;
    fs::path inbox = dir / "Inbox";
    fs::path home = dir / "Projects";
    fs::path journalPath = dir / "data" / "journal.json";
    AccessScope scope{{inbox}, {home}};
    OperationPlan plan;
    std::map<fs::path, std::string> content;  // source → original content
    Date now = Date::now().adding(3600);

    Scenario(int count, const fs::path& base) : dir(base) {
        fs::create_directories(inbox);
        fs::create_directories(home / "Hydro" / "Export");
        writeFile(home / "Hydro" / "Export" / "taken.png", "in the way");
        plan.id = Uuid::random();
        plan.createdAt = now;
        const Uuid batch = Uuid::random();
        for (int i = 0; i < count; ++i) {
            const std::string name = i == 1 ? "taken.png" : "file " + std::to_string(i) + ".png";
            const fs::path source = inbox / name;
            content[source] = "bytes of " + name + std::string(static_cast<std::size_t>(i % 7), '#');
            writeFile(source, content[source]);
            // Every third file goes into a sub-job folder that does not exist yet.
            const fs::path folder = i % 3 == 0 ? home / "Hydro" / "Export" / ("Post " + std::to_string(i % 4))
                                               : home / "Hydro" / "Export";
            plan.operations.push_back({Uuid::random(), batch, source, folder / name, Metadata::identity(source),
                                       OperationType::move, std::nullopt});
        }
    }

    std::unique_ptr<OperationExecutor> executor(FileOperator fileOperator = FileOperator(),
                                                LogCalls logCalls = LogCalls::system(),
                                                FileCoordinator* coordinator = nullptr) {
        auto journal = std::make_unique<OperationJournal>(journalPath, [this] { return now; }, std::move(logCalls));
        return std::make_unique<OperationExecutor>(std::move(journal), [this] { return now; },
                                                   std::move(fileOperator), coordinator);
    }

    // Every invariant the operations layer promises, after a reconcile.
    void check(const std::set<std::string>& reportedCompleted) {
        auto recovered = executor();
        recovered->reconcile(scope);
        const OperationJournal& journal = recovered->journal();
        ASSERT_TRUE(journal.isConsistent());
        EXPECT_EQ(readFile(home / "Hydro" / "Export" / "taken.png"), "in the way");
        for (const auto& operation : plan.operations) {
            const bool atSource = fs::exists(operation.source);
            const bool atDestination = fs::exists(operation.destination);
            const std::string& original = content[operation.source];
            if (operation.source.filename() == "taken.png") {
                EXPECT_TRUE(atSource);
                EXPECT_EQ(readFile(operation.source), original);
                continue;
            }
            ASSERT_NE(atSource, atDestination) << operation.source << " must be at exactly one place";
            EXPECT_EQ(readFile(atSource ? operation.source : operation.destination), original);
            const JournalEntry* entry = journal.entry(operation.id);
            if (entry == nullptr) {
                EXPECT_TRUE(atSource) << "an operation never journaled never ran";
                continue;
            }
            EXPECT_NE(entry->status, OperationStatus::planned);
            EXPECT_NE(entry->status, OperationStatus::started);
            EXPECT_TRUE(entry->status != OperationStatus::completed || atDestination) << operation.source;
            EXPECT_TRUE(entry->status != OperationStatus::failed || atSource) << operation.source;
            EXPECT_TRUE(!reportedCompleted.contains(operation.id.text()) || atDestination) << operation.source;
        }
        for (const auto& entry : journal.document().entries) {
            EXPECT_NE(entry.status, OperationStatus::started);
            EXPECT_TRUE(entry.operation.type != OperationType::createDirectory ||
                        entry.status != OperationStatus::completed || fs::is_directory(entry.operation.destination));
        }
        checkWholeTree();
    }

    // Nothing else anywhere in the user's folders: every file is the one in the way
    // or a planned file at its source or destination, and every folder is one the
    // plan needed. A stray copy or temporary file fails here.
    void checkWholeTree() {
        std::set<fs::path> files{home / "Hydro" / "Export" / "taken.png"};
        std::set<fs::path> folders{home / "Hydro", home / "Hydro" / "Export"};
        for (const auto& operation : plan.operations) {
            files.insert(fs::exists(operation.source) ? operation.source : operation.destination);
            for (fs::path folder = operation.destination.parent_path(); folder != home && folder != fs::path("/");
                 folder = folder.parent_path())
                folders.insert(folder);
        }
        for (const fs::path& root : {inbox, home})
            for (const auto& entry : fs::recursive_directory_iterator(root)) {
                if (entry.is_directory() && !entry.is_symlink())
                    EXPECT_TRUE(folders.contains(entry.path())) << "unexpected folder " << entry.path();
                else
                    EXPECT_TRUE(files.contains(entry.path())) << "unexpected file " << entry.path();
            }
    }
};

// The ids a batch reported as completed, one a line in `file`.
inline std::set<std::string> readCompleted(const fs::path& file) {
    std::set<std::string> ids;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) ids.insert(line);
    return ids;
}

}  // namespace kelo::testing
