#include <gtest/gtest.h>

#include <string>

#include "model/shared_map.h"

namespace kelo {
namespace {

// Copies share shards: a write to one copy must never show through the other, and
// equality and the changed-shard walk must agree with the contents.
TEST(SharedMapTest, CopiesShareShardsButNeverWritesAndCompareByContent) {
    SharedMap<int> a;
    for (int i = 0; i < 1000; ++i) a[std::to_string(i)] = i;
    const SharedMap<int> b = a;
    a["7"] = 70;
    EXPECT_EQ(a.erase("8"), 1u);
    EXPECT_EQ(a.erase("missing"), 0u);
    EXPECT_EQ(a.eraseIf([](const auto& entry) { return entry.second >= 990; }), 10u);
    EXPECT_EQ(*b.find("7"), 7);
    EXPECT_TRUE(b.contains("8") && b.contains("995"));
    EXPECT_EQ(b.size(), 1000u);
    EXPECT_EQ(a.size(), 989u);
    EXPECT_EQ(a.find("8"), nullptr);

    std::size_t changed = 0;
    SharedMap<int>::forEachChangedShard(b, a, [&](const auto&, const auto&) { ++changed; });
    EXPECT_GE(changed, 2u);
    EXPECT_LE(changed, 12u);  // only the shards of the keys written
    EXPECT_FALSE(a == b);
    SharedMap<int> rebuilt(a.toMap());  // other shards, same contents
    EXPECT_TRUE(rebuilt == a);
    rebuilt["7"] = 7;
    EXPECT_FALSE(rebuilt == a);
}

}  // namespace
}  // namespace kelo
