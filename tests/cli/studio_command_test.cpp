// `kelo studio` run as a program on a project the test sets up: the filtered
// inventory and the insights as JSON, and a refused filter.
#include <gtest/gtest.h>

#include "model/json_codec.h"
#include "support/kelo_program.h"

namespace kelo {
namespace {

class StudioCommandTest : public testing::KeloProgramFixture {
protected:
    void SetUp() override {
        makeFolders({"Tra Xanh/Working", "Tra Xanh/Export"});
        testing::writeFile(home / "Tra Xanh/Working/Trà Xanh logo.ai", "ai");
        testing::writeFile(home / "Tra Xanh/Export/IMG_1.png", "png");
        startWithFolders();  // approves the folders, then lets the data directory go
    }
};

TEST_F(StudioCommandTest, JsonGivesTheFilteredInventoryAndTheInsights) {
    const auto [status, out] = kelo("studio 'tra xanh' --text 'tra xanh' --json");
    ASSERT_EQ(status, 0) << out;
    const Json document = Json::parse(out);
    ASSERT_EQ(document["inventory"]["files"].size(), 1u);
    EXPECT_EQ(document["inventory"]["files"][0]["path"], "Working/Trà Xanh logo.ai");
    EXPECT_EQ(document["inventory"]["fileCount"], 2);
    EXPECT_EQ(document["insights"]["offNaming"], Json::array({"Export/IMG_1.png"}));
    EXPECT_EQ(document["insights"]["byKind"]["image"]["count"], 1);

    const auto [refused, message] = kelo("studio 'Tra Xanh' --days -1");
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(message, "--days must be between 0 and 36500.\n");
}

}  // namespace
}  // namespace kelo
