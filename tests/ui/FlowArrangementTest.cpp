// How buttons stand beside each other, and below each other where there is no room.

#include "ui/FlowArrangement.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox {
namespace {

using drawing::Rectangle;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(FlowArrangement, isOneLineWhereThatFits) {
  EXPECT_THAT(flowArrangement({{100, 20}, {60, 24}}, 164, 4),
              ElementsAre(Rectangle{0, 0, 100, 20}, Rectangle{104, 0, 60, 24}));
  EXPECT_EQ(flowHeight(flowArrangement({{100, 20}, {60, 24}}, 164, 4)), 24);
}

TEST(FlowArrangement, beginsANewLineBelowTheHighestOfTheLast) {
  const auto places = flowArrangement({{100, 20}, {60, 24}, {90, 20}}, 170, 4);
  EXPECT_THAT(places, ElementsAre(Rectangle{0, 0, 100, 20}, Rectangle{104, 0, 60, 24}, Rectangle{0, 28, 90, 20}));
  EXPECT_EQ(flowHeight(places), 48);
}

TEST(FlowArrangement, makesNothingWiderThanItsRoom) {
  EXPECT_THAT(flowArrangement({{300, 20}, {300, 20}}, 200, 4),
              ElementsAre(Rectangle{0, 0, 200, 20}, Rectangle{0, 24, 200, 20}));
}

TEST(FlowArrangement, ofNothingIsNothing) {
  EXPECT_THAT(flowArrangement({}, 200, 4), IsEmpty());
  EXPECT_EQ(flowHeight({}), 0);
}

}  // namespace
}  // namespace tallyfox
