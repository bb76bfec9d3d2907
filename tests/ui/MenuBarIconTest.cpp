// The menu-bar item and its icon.

#include "ui/MenuBarIcon.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(MenuBarIcon, is24PointsWideWithNoApprovalsAnd30WithOneOrMore) {
  EXPECT_EQ(menuBarItemLength(-1), 24.0);
  EXPECT_EQ(menuBarItemLength(0), 24.0);
  EXPECT_EQ(menuBarItemLength(1), 30.0);
  EXPECT_EQ(menuBarItemLength(57), 30.0);
}

}  // namespace
}  // namespace tallyfox
