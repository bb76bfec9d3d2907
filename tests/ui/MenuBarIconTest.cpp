// The menu-bar item and its icon, number by number.

#include "ui/MenuBarIcon.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

using namespace drawing;

std::vector<Command> withoutDot() {
  return {StrokedRoundedRectangle{{1.5, 4.5, 12.5, 9.5}, 2.2, 2.1},
          StrokedLines{{{{6.5, 4.5}, {5.5, 2.3}}, {{9.0, 4.5}, {10.0, 2.3}}, {{4.5, 2.2}, {11.1, 2.2}}}, 1.8},
          StrokedOval{{11.2, 8.3, 6.6, 6.6}, 1.8},
          StrokedLines{{{{13.0, 11.6}, {14.4, 10.2}, {16.2, 12.7}}}, 1.8, Ends::round},
          StrokedArc{{17.3, 11.7}, 3.0, -18, 45, 1.7, Ends::round}};
}

TEST(MenuBarIcon, isAScreenOnItsStandWithARingATickAndASignal) {
  for (const std::int64_t count : {0, -1})
    EXPECT_EQ(menuBarIcon(count), (TemplateImage{22, 18, withoutDot()})) << count;
}

TEST(MenuBarIcon, widensForOneDotHoweverManyApprovalsArePending) {
  TemplateImage expected{30, 18, withoutDot()};
  expected.commands.emplace_back(FilledOval{{20.5, 9.3, 8.2, 8.2}});
  for (const std::int64_t count : {1, 2, 57})
    EXPECT_EQ(menuBarIcon(count), expected) << count;
}

TEST(MenuBarItem, is24PointsWideWithNoApprovalsAnd30WithOneOrMore) {
  EXPECT_EQ(menuBarItemLength(-1), 24.0);
  EXPECT_EQ(menuBarItemLength(0), 24.0);
  EXPECT_EQ(menuBarItemLength(1), 30.0);
  EXPECT_EQ(menuBarItemLength(57), 30.0);
}

TEST(MenuBarItem, shrinksBackOnceNothingIsPending) {
  EXPECT_GT(menuBarItemLength(1), menuBarItemLength(0));
  EXPECT_NE(menuBarIcon(1), menuBarIcon(0));
  // The icon always fits its item.
  for (const std::int64_t count : {0, 1})
    EXPECT_LE(menuBarIcon(count).width, menuBarItemLength(count));
}

TEST(MenuBarItem, saysWhoseItIs) {
  EXPECT_STREQ(menuBarToolTip, "Tallyfox");
  EXPECT_EQ(menuBarLabel(0), "Tallyfox");
  EXPECT_EQ(menuBarLabel(1), "Tallyfox, approvals pending");
  EXPECT_EQ(menuBarLabel(57), menuBarLabel(1)) << "the dot has no number either";
}

}  // namespace
}  // namespace tallyfox
