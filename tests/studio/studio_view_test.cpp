// The Studio's view of a small generated project: totals, newest and largest
// files, names off the project's naming, stale files, and the filters.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "studio/studio_insights.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::writeFile;

constexpr double kDay = 86400;
const Date kNow = Date::fromUnix(1'800'000'000);

class StudioViewTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path project = dir / "Tra Xanh";

    void add(const std::string& relative, std::size_t size, double daysOld) {
        const fs::path path = project / relative;
        writeFile(path, std::string(size, 'x'));
        testing::setModified(path, static_cast<long>(kNow.sinceUnixEpoch() - daysOld * kDay));
    }

    void SetUp() override {
        add("Working/Trà Xanh logo.ai", 300, 1);
        add("Export/tra-xanh-poster.png", 1000, 2);
        add("Export/IMG.png", 50, 100);
        add("Reference/brief.pdf", 20, 10);
        add("Assets/fonts.zip", 5000, 200);
        add("notes/Tra Xanh todo.txt", 5, 3);
        add("Tra Xanh final_final2.psd", 10, 0.5);
        add(".directory", 10, 0.1);  // hidden: not counted or listed
        add(".cache/thumb.png", 10, 0.1);
    }

    StudioProjectView read() {
        const Project tea = Project::make("Tra Xanh", project, {}, ProjectStatus::active, kNow);
        return StudioProjectView::read(project, tea, kNow);
    }

    static std::vector<std::string> names(const StudioProjectView& view, const std::vector<std::size_t>& indices) {
        std::vector<std::string> out;
        for (const auto i : indices) out.push_back(view.files[i].filename());
        return out;
    }
};

using Names = std::vector<std::string>;

TEST_F(StudioViewTest, InsightsCountFoldersKindsAgesAndNaming) {
    const auto view = read();
    const StudioInsights& in = view.insights;
    EXPECT_EQ(std::tuple(in.fileCount, in.folderCount, in.totalBytes), std::tuple(7u, 5u, 6385u));
    EXPECT_EQ(in.byFolder, (std::map<std::string, StudioTotals>{{"", {2, 15}},
                                                                {"Assets", {1, 5000}},
                                                                {"Export", {2, 1050}},
                                                                {"Reference", {1, 20}},
                                                                {"Working", {1, 300}}}));
    // Design sources, images, documents, archives, other.
    EXPECT_EQ(in.byKind, (decltype(in.byKind){{{2, 310}, {2, 1050}, {2, 25}, {1, 5000}, {0, 0}}}));

    EXPECT_EQ(names(view, in.newest), (Names{"Tra Xanh final_final2.psd", "Trà Xanh logo.ai", "tra-xanh-poster.png",
                                             "Tra Xanh todo.txt", "brief.pdf"}));
    EXPECT_EQ(names(view, in.largest),
              (Names{"fonts.zip", "tra-xanh-poster.png", "Trà Xanh logo.ai", "IMG.png", "brief.pdf"}));
    // A name must carry the project and say something: "final_final2" does not.
    EXPECT_EQ(names(view, in.offNaming), (Names{"fonts.zip", "IMG.png", "brief.pdf", "Tra Xanh final_final2.psd"}));
    EXPECT_EQ(names(view, in.stale), (Names{"fonts.zip", "IMG.png"}));
}

StudioFilter filter(std::optional<FileKind> kind, std::optional<std::string> folder, std::optional<int> days,
                    std::string text = "") {
    return {"", kind, std::move(folder), days, std::move(text)};
}

TEST_F(StudioViewTest, FiltersByKindFolderAgeAndFoldedText) {
    const auto view = read();
    const auto none = std::nullopt;
    const Names teaNames{"tra-xanh-poster.png", "Tra Xanh final_final2.psd", "Trà Xanh logo.ai", "Tra Xanh todo.txt"};
    const std::vector<std::pair<StudioFilter, Names>> cases{
        {filter(none, none, none),
         {"fonts.zip", "IMG.png", "tra-xanh-poster.png", "brief.pdf", "Tra Xanh final_final2.psd", "Trà Xanh logo.ai",
          "Tra Xanh todo.txt"}},
        {filter(FileKind::image, none, none), {"IMG.png", "tra-xanh-poster.png"}},
        {filter(none, "Export", none), {"IMG.png", "tra-xanh-poster.png"}},
        {filter(none, "", none), {"Tra Xanh final_final2.psd", "Tra Xanh todo.txt"}},
        // Exactly N days old still counts as modified within N days.
        {filter(none, none, 2), {"tra-xanh-poster.png", "Tra Xanh final_final2.psd", "Trà Xanh logo.ai"}},
        {filter(none, none, 0), {}},
        {filter(none, none, none, "tra xanh"), teaNames},
        {filter(none, none, none, "xanh TRÀ"), teaNames},
        {filter(none, none, none, "TRÀ LOG"), {"Trà Xanh logo.ai"}},
        {filter(none, none, none, "anh"), {}},  // words match from their start only
        {filter(FileKind::designSource, none, 1, "xanh"), {"Tra Xanh final_final2.psd", "Trà Xanh logo.ai"}},
        {filter(FileKind::designSource, "Working", 1, "xanh"), {"Trà Xanh logo.ai"}},
    };
    for (const auto& [f, expected] : cases) EXPECT_EQ(names(view, view.filtered(f)), expected) << f.text;
}

}  // namespace
}  // namespace kelo
