#include "classify/neighbor_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PreparedFile prepared(const std::string& name, double unixSeconds, std::filesystem::path folder = "/in") {
    FileRecord f;
    f.url = folder / name;
    f.sourceFolder = folder;
    f.identity = FileIdentity{1, std::hash<std::string>{}(name), 1, Date::fromUnix(unixSeconds)};
    return PreparedFile::make(f);
}

std::vector<std::string> names(const std::vector<const PreparedFile*>& files) {
    std::vector<std::string> out;
    for (const auto* f : files) out.push_back(f->record.filename());
    return out;
}

TEST(NeighborIndexTest, OffersFilesSharingFolderTokenAndNearbyBucket) {
    const double edge = 1'700'000'400;  // a bucket boundary: 600 s buckets
    const std::vector<PreparedFile> files = {
        prepared("hydro menu.png", edge - 5),          // 0: the subject
        prepared("hydro poster.png", edge + 5),        // across the edge: offered
        prepared("menu board.png", edge - 590),        // same bucket, shares "menu"
        prepared("hydro late.png", edge + 1200),       // two buckets away
        prepared("hydro desk.png", edge, "/desk"),     // other folder
        prepared("sketch.png", edge),                  // shares no token
        prepared("hydro menu again.png", edge - 700),  // previous bucket, shares two tokens: offered once
    };
    const NeighborIndex index(files);
    EXPECT_THAT(names(index.candidatesFor(files[0])),
                ElementsAre("hydro poster.png", "menu board.png", "hydro menu again.png"));
    EXPECT_THAT(names(index.candidatesFor(files[5])), IsEmpty());
}

}  // namespace
}  // namespace kelo
