// How the status window finds its layout and size on every screen.

#include "ui/StatusWindowLayout.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tallyfox {
namespace {

constexpr double compactHeight = 720;
constexpr double wideHeight = 430;

StatusWindowFit fitOn(double width, double height) {
  return statusWindowFit({.width = width, .height = height}, compactHeight, wideHeight);
}

TEST(StatusWindowLayout, isOneColumnWhereItFits) {
  const StatusWindowFit column{.layout = StatusWindowLayout::compact, .size = {440, 720}};
  EXPECT_EQ(fitOn(1920, 1080), column);
  EXPECT_EQ(fitOn(3840, 2160), column);
  EXPECT_EQ(fitOn(488, 768), column);  // to the point, with 24 on every side
}

TEST(StatusWindowLayout, isWideWhereTheColumnIsTooHigh) {
  const StatusWindowFit wide{.layout = StatusWindowLayout::wide, .size = {780, 430}};
  EXPECT_EQ(fitOn(1366, 700), wide);
  EXPECT_EQ(fitOn(1366, 767.5), wide);
  EXPECT_EQ(fitOn(828, 478), wide);
}

TEST(StatusWindowLayout, staysAColumnThatScrollsWhereWideDoesNotFitOrDoesNotHelp) {
  EXPECT_EQ(fitOn(827, 600), (StatusWindowFit{.layout = StatusWindowLayout::compact, .size = {440, 552}}));
  EXPECT_EQ(statusWindowFit({.width = 1366, .height = 600}, 700, 700),
            (StatusWindowFit{.layout = StatusWindowLayout::compact, .size = {440, 552}}));
}

TEST(StatusWindowLayout, scrollsAWideWindowOnAScreenTooLowForItToo) {
  EXPECT_EQ(fitOn(1024, 300), (StatusWindowFit{.layout = StatusWindowLayout::wide, .size = {780, 252}}));
}

TEST(StatusWindowLayout, isNeverLargerThanTheScreenNorSmallerThanNothing) {
  EXPECT_EQ(fitOn(320, 240), (StatusWindowFit{.layout = StatusWindowLayout::compact, .size = {272, 192}}));
  for (const double side : {0.0, 47.0, 48.0, -10.0})
    EXPECT_EQ(fitOn(side, side), (StatusWindowFit{.layout = StatusWindowLayout::compact, .size = {0, 0}})) << side;
}

TEST(StatusWindowLayout, keepsItsMarginOnScreensOfEverySize) {
  for (double width = 0; width <= 4096; width += 61) {
    for (double height = 0; height <= 2304; height += 37) {
      const StatusWindowFit fit = fitOn(width, height);
      EXPECT_GE(fit.size.width, 0);
      EXPECT_GE(fit.size.height, 0);
      EXPECT_TRUE(fit.size.width == 0 || fit.size.width + 48 <= width) << width;
      EXPECT_TRUE(fit.size.height == 0 || fit.size.height + 48 <= height) << height;
      // Wide is only ever a way to show more.
      EXPECT_TRUE(fit.layout == StatusWindowLayout::compact || (fit.size.width == 780 && height < 768));
    }
  }
}

TEST(StatusWindowLayout, movesAWindowBackOntoItsScreenAndLeavesOneThatIsOnIt) {
  using drawing::Point;
  const drawing::Rectangle area{.x = 100, .y = 25, .width = 1000, .height = 700};
  const auto kept = [&](double x, double y, double width, double height) {
    return keptOnScreen({.x = x, .y = y, .width = width, .height = height}, area);
  };
  EXPECT_EQ(kept(300, 200, 440, 500), (Point{300, 200}));
  EXPECT_EQ(kept(660, 225, 440, 500), (Point{660, 225}));
  EXPECT_EQ(kept(900, 600, 440, 500), (Point{660, 225}));
  EXPECT_EQ(kept(-50, 0, 440, 500), (Point{100, 25}));
  EXPECT_EQ(kept(300, 200, 1200, 800), (Point{100, 25})) << "too large: its title bar stays";
}

TEST(StatusWindowLayout, hasTheMarginsOfItsStack) {
  using namespace status_window_layout;
  EXPECT_EQ((std::vector{sideMargin, topMargin, bottomMargin, spacing, cardCornerRadius}),
            (std::vector<double>{16, 4, 12, 8, 8}));
}

}  // namespace
}  // namespace tallyfox
