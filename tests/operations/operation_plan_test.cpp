#include "operations/operation_plan.h"

#include <gtest/gtest.h>

namespace kelo {
namespace {

TEST(OperationPlanTest, EncodesFieldNamesFileUrlsAndRawValuesAndReadsBackEqual) {
    OperationPlan plan;
    plan.id = Uuid::random();
    plan.createdAt = Date{12.5};
    PlannedOperation folder;
    folder.id = Uuid::random();
    folder.batchID = Uuid::random();
    folder.source = "/home/Jobs";
    folder.destination = "/home/Jobs/Bìa 1";
    folder.type = OperationType::createDirectory;
    PlannedOperation undo = folder;
    undo.id = Uuid::random();
    undo.source = "/home/Jobs/Bìa 1/a#b.pdf";
    undo.destination = "/inbox/a#b.pdf";
    undo.expected = FileIdentity{3, 4, 5, Date{6.25}};
    undo.type = OperationType::undo;
    undo.reverses = Uuid::random();
    plan.operations = {folder, undo};

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

}  // namespace
}  // namespace kelo
