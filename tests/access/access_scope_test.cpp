#include "access/access_scope.h"

#include <gtest/gtest.h>

namespace kelo {
namespace {

// Containment itself is proven with PathSafety::contains; this is that both lists count.
TEST(AccessScopeTest, AllowsOnlyInsideWatchedFoldersAndHomes) {
    AccessScope scope{{"/home/u/Downloads"}, {"/home/u/Projects/"}};
    EXPECT_TRUE(scope.allows("/home/u/Downloads/sub/a.pdf"));
    EXPECT_TRUE(scope.allows("/home/u/Projects/Job/Working/a.psd"));
    EXPECT_FALSE(scope.allows("/home/u/Downloads2/a.pdf"));
    EXPECT_FALSE(scope.allows("/home/u"));
    EXPECT_FALSE(AccessScope{}.allows("/"));
}

}  // namespace
}  // namespace kelo
