#include "access/access_scope.h"

#include <gtest/gtest.h>

namespace kelo {
namespace {

TEST(AccessScopeTest, AllowsOnlyInsideWatchedFoldersAndHomes) {
    AccessScope scope{{"/home/u/Downloads"}, {"/home/u/Projects/"}};
    EXPECT_TRUE(scope.allows("/home/u/Downloads"));
    EXPECT_TRUE(scope.allows("/home/u/Downloads/a.pdf"));
    EXPECT_TRUE(scope.allows("/home/u/Downloads/sub/a.pdf"));
    EXPECT_TRUE(scope.allows("/home/u/Projects/Job/Working/a.psd"));
    EXPECT_FALSE(scope.allows("/home/u/Downloads2/a.pdf"));
    EXPECT_FALSE(scope.allows("/home/u/downloads/a.pdf"));
    EXPECT_FALSE(scope.allows("/home/u/Downloads/../Documents/a.pdf"));
    EXPECT_FALSE(scope.allows("/home/u"));
    // An empty scope allows nothing.
    EXPECT_FALSE(AccessScope{}.allows("/"));
    EXPECT_FALSE(AccessScope{}.allows("/home/u/Downloads/a.pdf"));
}

}  // namespace
}  // namespace kelo
