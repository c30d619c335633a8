#include "operations/operation_planner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "access/path_safety.h"
#include "classify/tokens.h"
#include "model/kelo_error.h"
#include "operations/batch_group_planner.h"
#include "operations/rename_suggestions.h"
#include "operations/structured_filename.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::refusalOf;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

const Date kNow{5000};

FileRecord record(const fs::path& url, std::uint64_t inode = 7) {
    FileRecord r;
    r.url = url;
    r.sourceFolder = url.parent_path();
    r.identity = FileIdentity{2, inode, 10, Date{100}};
    return r;
}

Project project(const fs::path& folder, ProjectStatus status = ProjectStatus::active) {
    return Project::make("Hydro Cafe", folder, {"hydro cafe"}, status, kNow);
}

TEST(OperationPlannerTest, PlaceMovesIntoTheCategoryFolderWithRecordedIdentity) {
    const FileRecord file = record("/home/u/Downloads/menu.pdf");
    const Project job = project("/home/u/Jobs/Hydro");
    const OperationPlan plan = OperationPlanner::place(file, job, Category::export_, std::nullopt, kNow);
    ASSERT_EQ(plan.operations.size(), 1u);
    const PlannedOperation& op = plan.operations[0];
    EXPECT_EQ(op, (PlannedOperation{op.id, op.batchID, file.url, "/home/u/Jobs/Hydro/Export/menu.pdf", file.identity,
                                    OperationType::move, std::nullopt}));

    // Trimmed sub-folder names are used; blank or invalid ones are ignored.
    const auto placed = [&](const std::string& subfolder) {
        return OperationPlanner::place(file, job, Category::export_, subfolder, kNow).operations[0].destination;
    };
    EXPECT_EQ(placed("  Social\n"), fs::path("/home/u/Jobs/Hydro/Export/Social/menu.pdf"));
    for (const char* ignored : {"   ", "a/b", "..", "x:y"})
        EXPECT_EQ(placed(ignored), op.destination) << "sub-folder \"" << ignored << "\"";
    // Each plan is its own batch.
    EXPECT_NE(OperationPlanner::place(file, job, Category::working).operations[0].batchID, op.batchID);
}

TEST(OperationPlannerTest, CleanMovesOnlyPredictedFilesOfOpenProjectsInOneBatch) {
    const Project open = project("/jobs/Hydro");
    const Project archived = project("/jobs/Old", ProjectStatus::archived);
    const std::vector<CleanCandidate> items = {
        {record("/in/HY-menu.pdf"), open.id, Category::reference},
        {record("/in/unknown.pdf"), std::nullopt, Category::reference},
        {record("/in/old.psd"), archived.id, Category::working},
        {record("/in/gone.psd"), Uuid::random(), Category::working},
        {record("/in/HY-post1.png"), open.id, Category::export_},
    };
    const SubjobDetector detect = [](const std::string& filename, const Project&) -> std::optional<std::string> {
        if (filename.find("post") != std::string::npos) return "Post";
        if (filename.find("menu") != std::string::npos) return "a/b";  // not a single name: ignored
        return std::nullopt;
    };
    const OperationPlan grouped = OperationPlanner::clean(items, {open, archived}, true, detect, kNow);
    ASSERT_EQ(grouped.operations.size(), 2u);
    EXPECT_EQ(grouped.operations[0].destination, fs::path("/jobs/Hydro/Reference/HY-menu.pdf"));
    EXPECT_EQ(grouped.operations[1].destination, fs::path("/jobs/Hydro/Export/Post/HY-post1.png"));
    EXPECT_EQ(grouped.operations[0].batchID, grouped.operations[1].batchID);
    EXPECT_NE(grouped.operations[0].id, grouped.operations[1].id);

    const OperationPlan flat = OperationPlanner::clean(items, {open, archived}, false, detect, kNow);
    EXPECT_EQ(flat.operations[1].destination, fs::path("/jobs/Hydro/Export/HY-post1.png"));
}

// Two files of one name from two inboxes land on one destination: the planner does not
// resolve it; keepBoth on the second, with the first's key reserved, picks "2".
TEST(OperationPlannerTest, TwoOperationsWithOneDestinationAndKeepBoth) {
    TempDir dir;
    const Project job = project(dir / "Jobs" / "Hydro");
    const std::vector<CleanCandidate> items = {
        {record(dir / "Downloads" / "brief.pdf"), job.id, Category::reference},
        {record(dir / "Desktop" / "brief.pdf"), job.id, Category::reference},
    };
    const OperationPlan plan = OperationPlanner::clean(items, {job}, false, {}, kNow);
    ASSERT_EQ(plan.operations.size(), 2u);
    EXPECT_EQ(PathSafety::key(plan.operations[0].destination), PathSafety::key(plan.operations[1].destination));

    const std::set<std::string> reserved = {PathSafety::key(plan.operations[0].destination),
                                            PathSafety::key(dir / "Jobs" / "Hydro" / "Reference" / "brief 2.pdf")};
    writeFile(dir / "Jobs" / "Hydro" / "Reference" / "brief 3.pdf", "on disk");
    PlannedOperation moved = plan.operations[1];
    moved.destination = dir / "Jobs" / "Hydro" / "Reference" / "brief 4.pdf";
    EXPECT_EQ(OperationPlanner::keepBoth(plan.operations[1], reserved), moved);
}

TEST(OperationPlannerTest, KeepBothKeepsOnlyTheLastExtensionApartAndGivesUpAfterNumberTenThousand) {
    TempDir dir;
    PlannedOperation op;
    const struct {
        std::string name;
        std::string expected;
    } cases[] = {
        {"report.pdf", "report 2.pdf"},
        {"archive.tar.gz", "archive.tar 2.gz"},
        {"README", "README 2"},
        {".bashrc", ".bashrc 2"},
    };
    for (const auto& c : cases) {
        op.destination = dir / c.name;
        EXPECT_EQ(OperationPlanner::keepBoth(op, {}).destination.filename(), c.expected) << c.name;
    }
    // A dangling link takes its name too.
    fs::create_symlink(dir / "nowhere", dir / "README 2");
    op.destination = dir / "README";
    EXPECT_EQ(OperationPlanner::keepBoth(op, {}).destination.filename(), "README 3");

    op.destination = dir / "a.txt";
    std::set<std::string> reserved;
    for (int n = 2; n <= 9999; ++n) reserved.insert(PathSafety::key(dir / ("a " + std::to_string(n) + ".txt")));
    EXPECT_EQ(OperationPlanner::keepBoth(op, reserved).destination.filename(), "a 10000.txt");
    reserved.insert(PathSafety::key(dir / "a 10000.txt"));
    EXPECT_EQ(refusalOf([&] { OperationPlanner::keepBoth(op, reserved); }), "No available name. File left untouched.");
}

TEST(OperationPlannerTest, RenamesStayInTheFolderAndReviewedNamesKeepTheExtension) {
    const FileRecord file = record("/jobs/Hydro/Export/logo_final_final2.ai");
    const OperationPlan plan = OperationPlanner::rename(file, "HY-Logo-01.ai", kNow);
    ASSERT_EQ(plan.operations.size(), 1u);
    const PlannedOperation& op = plan.operations[0];
    EXPECT_EQ(op, (PlannedOperation{op.id, op.batchID, file.url, "/jobs/Hydro/Export/HY-Logo-01.ai", file.identity,
                                    OperationType::rename, std::nullopt}));

    EXPECT_EQ(OperationPlanner::reviewedRename(file, "Logo.ai", kNow).operations[0].destination,
              fs::path("/jobs/Hydro/Export/Logo.ai"));
    for (const std::string& bad :
         std::vector<std::string>{"Logo.AI", "Logo.psd", "Logo", "a/b.ai", "a:b.ai", "", std::string(253, 'x') + ".ai"})
        EXPECT_EQ(refusalOf([&] { OperationPlanner::reviewedRename(file, bad); }),
                  "Tên mới phải hợp lệ và giữ nguyên đuôi tệp.")
            << bad;
    // A file without extension keeps having none.
    EXPECT_NO_THROW(OperationPlanner::reviewedRename(record("/in/README"), "NOTES"));
    EXPECT_THROW(OperationPlanner::reviewedRename(record("/in/README"), "NOTES.txt"), KeloError);
}

TEST(StructuredFilenameTest, JoinsTrimmedPartsAndRefusesUnsafeOnes) {
    EXPECT_EQ(StructuredFilename::make(" HY ", "Social\n", "Post1", "png"), "HY-Social-Post1.png");
    EXPECT_EQ(StructuredFilename::make("Toán", "Bài tập", "Bài 1", ""), "Toán-Bài tập-Bài 1");
    const std::string badPart = "Nhập đủ Job, mục đích và chi tiết; không dùng dấu chấm hoặc ký tự đường dẫn.";
    const struct {
        std::string job, purpose, detail;
    } bad[] = {
        {"", "a", "b"},     {"  ", "a", "b"},   {"a.b", "c", "d"},
        {"a", "b\\c", "d"}, {"a", "b", "-d"},   {"a", "b/c", "d"},
        {"a", "b:c", "d"},  {"a", "b\tc", "d"}, {"a", std::string("b\x7f"), "d"},
    };
    for (const auto& c : bad)
        EXPECT_EQ(refusalOf([&] { StructuredFilename::make(c.job, c.purpose, c.detail, "pdf"); }), badPart)
            << c.job << "|" << c.purpose << "|" << c.detail;
    // Each part fits, the whole does not.
    const std::string part(100, 'x');
    EXPECT_EQ(refusalOf([&] { StructuredFilename::make(part, part, part, "pdf"); }),
              "Tên tệp quá dài hoặc không hợp lệ.");
}

TEST(BatchGroupPlannerTest, CreatesTheFolderFirstThenMovesEachFileOnce) {
    const FileRecord b = record("/jobs/Hydro/Export/b.png", 2);
    const FileRecord a = record("/jobs/Hydro/Export/a.png", 1);
    const OperationPlan plan = BatchGroupPlanner::plan({b, a, b}, "  Social ", "/jobs/Hydro/Export", kNow);
    ASSERT_EQ(plan.operations.size(), 3u);
    EXPECT_EQ(plan.operations[0].type, OperationType::createDirectory);
    EXPECT_EQ(plan.operations[0].destination, fs::path("/jobs/Hydro/Export/Social"));
    EXPECT_EQ(plan.operations[1].destination, fs::path("/jobs/Hydro/Export/Social/a.png"));
    EXPECT_EQ(plan.operations[1].expected, a.identity);
    EXPECT_EQ(plan.operations[2].destination, fs::path("/jobs/Hydro/Export/Social/b.png"));
    for (const auto& op : plan.operations) EXPECT_EQ(op.batchID, plan.operations[0].batchID);
}

TEST(BatchGroupPlannerTest, ChecksTheNameBeforeTheSelectionSize) {
    const std::string badName = "Tên thư mục nhóm không hợp lệ.";
    const std::string badSelection = "Chọn ít nhất 1 tệp để nhóm.";
    for (const char* name : {" ", "a:b"})
        EXPECT_EQ(refusalOf([&] { BatchGroupPlanner::plan({}, name, "/p"); }), badName);
    EXPECT_EQ(refusalOf([] { BatchGroupPlanner::plan({}, "Group", "/p"); }), badSelection);
    std::vector<FileRecord> many;
    for (int i = 0; i < 10001; ++i) many.push_back(record("/p/f" + std::to_string(i)));
    EXPECT_EQ(refusalOf([&] { BatchGroupPlanner::plan(many, "Group", "/p"); }), badSelection);
    many.pop_back();
    EXPECT_EQ(BatchGroupPlanner::plan(many, "Group", "/p").operations.size(), 10001u);
}

TEST(OperationPlanTest, EncodesFieldNamesFileUrlsAndRawValuesAndReadsBackEqual) {
    const Uuid batch = Uuid::random();
    const PlannedOperation folder{
        Uuid::random(), batch, "/home/Jobs", "/home/Jobs/Bìa 1", std::nullopt, OperationType::createDirectory, {}};
    const FileIdentity identity{3, 4, 5, Date{6.25}};
    const PlannedOperation undo{Uuid::random(),   batch,    "/home/Jobs/Bìa 1/a#b.pdf",
                                "/inbox/a#b.pdf", identity, OperationType::undo,
                                Uuid::random()};
    const OperationPlan plan{Uuid::random(), Date{12.5}, {folder, undo}};

    const Json json = encodeValue(plan);
    EXPECT_EQ(json["createdAt"], 12.5);
    const Json& first = json["operations"][0];
    EXPECT_EQ(first["type"], "createDirectory");
    EXPECT_EQ(first["destination"], "file:///home/Jobs/B%C3%ACa%201");
    EXPECT_FALSE(first.contains("expected"));
    EXPECT_FALSE(first.contains("reverses"));
    const Json& second = json["operations"][1];
    EXPECT_EQ(second["type"], "undo");
    EXPECT_EQ(second["source"], "file:///home/Jobs/B%C3%ACa%201/a%23b.pdf");
    EXPECT_EQ(second["reverses"], undo.reverses->text());
    EXPECT_EQ(second["expected"]["inode"], 4);

    EXPECT_EQ(decodeValue<OperationPlan>(parseDocument(formatDocument(json))), plan);
}

// The classifier's own token rules, as the app passes them.
const TokenRules kRules{[](std::string_view text) { return Tokens::all(text); },
                        [](std::string_view text) {
                            const auto list = Tokens::meaningful(text);
                            return std::set<std::string>(list.begin(), list.end());
                        }};

TEST(RenameSuggestionsTest, QuestionableNames) {
    const struct {
        std::string name;
        bool questionable;
    } cases[] = {
        {"final-final.psd", true},       {"final.psd", true},  // no meaningful token either
        {"menu_final.psd", false},       {"logo_final_final2.ai", true},
        {"hydro_final_FINAL3.ai", true}, {"IMG.png", false},
        {"Untitled-1.psd", true},        {"2024.pdf", true},
        {"hydro menu.pdf", false},       {"README", false},
    };
    for (const auto& c : cases) EXPECT_EQ(RenameSuggestions::questionable(c.name, kRules), c.questionable) << c.name;
}

TEST(RenameSuggestionsTest, SuggestsFromTheFirstAliasWithInferredCategory) {
    const struct {
        fs::path file;
        std::vector<std::string> aliases;
        std::optional<std::string> suggestion;
    } cases[] = {
        {"/in/final_final2.PSD", {"hydro cafe", "hc"}, "HYDRO_CAFE-Working-01.PSD"},
        {"/in/untitled", {"hydro cafe", "hc"}, "HYDRO_CAFE-Reference-01"},
        {"/in/hydro menu.pdf", {"hydro cafe", "hc"}, std::nullopt},  // a good name gets no suggestion
        {"/in/final.png", {"final export", "hydro"}, std::nullopt},  // only the first alias counts, and it says nothing
        {"/in/final.png", {}, std::nullopt},
    };
    for (const auto& c : cases) {
        const Project project = Project::make("Hydro Cafe", "/jobs/Hydro", c.aliases);
        EXPECT_EQ(RenameSuggestions::suggest(record(c.file), project, kRules), c.suggestion) << c.file;
    }
}

}  // namespace
}  // namespace kelo
