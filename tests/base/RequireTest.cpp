// A broken invariant stops the process, in every build, and says where.

#include "base/Require.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(Require, goesOnWhenTheInvariantHolds) {
  bool reached = false;
  require(true, "never seen");
  reached = true;
  EXPECT_TRUE(reached);
}

TEST(RequireDeathTest, stopsTheProcessAndNamesWhatBrokeAndWhere) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(require(false, "water flows downhill"), "water flows downhill");
  EXPECT_DEATH(require(false, "water flows downhill"), "RequireTest.cpp");
}

}  // namespace
}  // namespace tallyfox
