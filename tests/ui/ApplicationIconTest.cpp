// The application's icon: within its square with proper margins, in the middle, in the product's colours, and readable
// also where it is small.

#include "ui/ApplicationIcon.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ui/IconSvg.hpp"
#include "ui/SvgDocument.hpp"

namespace tallyfox {
namespace {

struct Extent {
  double left = 1e9;
  double right = -1e9;
  double top = 1e9;
  double bottom = -1e9;
};

/// Of the ink on the page, y downwards.
Extent extentOf(const TemplateImage& image) {
  Extent extent;
  for (const Polygon& polygon : svgPolygons(svgPaths(svgText(image)).at(0))) {
    for (const drawing::Point& point : polygon) {
      extent.left = std::min(extent.left, point.x);
      extent.right = std::max(extent.right, point.x);
      extent.top = std::min(extent.top, point.y);
      extent.bottom = std::max(extent.bottom, point.y);
    }
  }
  return extent;
}

Extent extentOf(const ApplicationIcon& icon, bool withHalo) {
  TemplateImage all{.width = icon.side, .height = icon.side, .commands = {}};
  for (std::size_t i = 0; i < icon.layers.size(); ++i) {
    const auto& commands = icon.layers[i].image.commands;
    if (i != 1 || withHalo) all.commands.insert(all.commands.end(), commands.begin(), commands.end());
  }
  return extentOf(all);
}

const std::vector<double> usualPixels = {16, 22, 24, 32, 48, 64, 128, 256, 512};

TEST(ApplicationIcon, hasItsPlateInTheMiddleOfItsSquare) {
  for (const double pixels : usualPixels) {
    const ApplicationIcon icon = applicationIcon(pixels);
    EXPECT_EQ(icon.side, 64);
    EXPECT_EQ(icon.plate.width, icon.plate.height);
    EXPECT_EQ(icon.plate.x, (icon.side - icon.plate.width) / 2);
    EXPECT_EQ(icon.plate.y, icon.plate.x);
    EXPECT_EQ(icon.plate.x, pixels < 32 ? 0 : 4) << pixels;
    EXPECT_LT(icon.plateCornerRadius, icon.plate.width / 4);
  }
}

TEST(ApplicationIcon, keepsItsDrawingInTheMiddleOfThePlateWithAMargin) {
  for (const double pixels : usualPixels) {
    const ApplicationIcon icon = applicationIcon(pixels);
    const Extent ink = extentOf(icon, false);
    EXPECT_NEAR((ink.left + ink.right) / 2, icon.side / 2, 0.3) << pixels;
    EXPECT_NEAR((ink.top + ink.bottom) / 2, icon.side / 2, 0.3) << pixels;
    const Extent all = extentOf(icon, true);
    const double margin = icon.plate.width / 20;
    EXPECT_GT(all.left, icon.plate.x + margin) << pixels;
    EXPECT_LT(all.right, icon.side - icon.plate.x - margin) << pixels;
    EXPECT_GT(all.top, icon.plate.y + margin) << pixels;
    EXPECT_LT(all.bottom, icon.side - icon.plate.y - margin) << pixels;
  }
}

TEST(ApplicationIcon, isTheMenuBarIconsDrawing) {
  const ApplicationIcon icon = applicationIcon(64);
  ASSERT_EQ(icon.layers.size(), 5U);
  const auto& screen = std::get<drawing::StrokedRoundedRectangle>(icon.layers.front().image.commands.front());
  const TemplateImage menuBar = menuBarIcon(0);
  const auto& original = std::get<drawing::StrokedRoundedRectangle>(menuBar.commands.front());
  const double scale = screen.strokeWidth / original.strokeWidth;
  EXPECT_NEAR(scale, 42 / 20.7, 1e-9);
  EXPECT_NEAR(screen.rectangle.width, original.rectangle.width * scale, 1e-9);
  EXPECT_NEAR(screen.rectangle.height, original.rectangle.height * scale, 1e-9);
  EXPECT_NEAR(screen.cornerRadius, original.cornerRadius * scale, 1e-9);
  const auto& signal = std::get<drawing::StrokedArc>(icon.layers.back().image.commands.front());
  EXPECT_NEAR(signal.radius, 3 * scale, 1e-9);
  EXPECT_NEAR(signal.centre.x - screen.rectangle.x, (17.3 - 1.5) * scale, 1e-9);
  EXPECT_NEAR(signal.centre.y - screen.rectangle.y, (11.7 - 4.5) * scale, 1e-9);
}

TEST(ApplicationIcon, hasStrokesThatCanBeSeenWhereverItIsShown) {
  for (const double pixels : usualPixels) {
    const ApplicationIcon icon = applicationIcon(pixels);
    const auto& screen = std::get<drawing::StrokedRoundedRectangle>(icon.layers.front().image.commands.front());
    const auto& tick = std::get<drawing::StrokedLines>(icon.layers[3].image.commands.front());
    EXPECT_GT(std::min(screen.strokeWidth, tick.strokeWidth) * pixels / icon.side, 1.2) << pixels;
  }
}

TEST(ApplicationIcon, isInTheProductsColours) {
  const ApplicationIcon icon = applicationIcon(64);
  const Color white{.red = 1, .green = 1, .blue = 1};
  EXPECT_EQ(icon.plateTop, app_brand::green);
  EXPECT_EQ(icon.plateBottom, app_brand::successPill);
  std::vector<Color> colors;
  for (const IconLayer& layer : icon.layers)
    colors.push_back(layer.color);
  EXPECT_EQ(colors, (std::vector<Color>{white, app_brand::successPill, white, app_brand::successPill, white}));
}

TEST(SymbolicIcon, fillsItsSquareFromSideToSideAndLeavesNothingOut) {
  const TemplateImage icon = symbolicIcon();
  EXPECT_EQ(icon.width, 16);
  EXPECT_EQ(icon.height, 16);
  const Extent ink = extentOf(icon);
  EXPECT_NEAR(ink.left, 0, 0.1);
  EXPECT_NEAR(ink.right, 16, 0.1);
  EXPECT_GE(ink.top, 0);
  EXPECT_LE(ink.bottom, 16);
}

TEST(SymbolicIcon, keepsTheScreenAndTheRingApart) {
  // Somewhere between them there must be nothing, all around the ring.
  const TemplateImage icon = symbolicIcon();
  const auto& ring = std::get<drawing::StrokedOval>(icon.commands.at(5));
  const double radius = ring.rectangle.width / 2 + ring.strokeWidth / 2 + 0.4;
  const drawing::Point centre{ring.rectangle.x + ring.rectangle.width / 2,
                              ring.rectangle.y + ring.rectangle.height / 2};
  const std::vector<Polygon> polygons = svgPolygons(svgPaths(svgText(icon)).at(0));
  for (int degrees = 0; degrees < 360; degrees += 3) {
    const double angle = degrees * std::numbers::pi / 180;
    const drawing::Point point{centre.x + radius * std::cos(angle), 16 - centre.y - radius * std::sin(angle)};
    EXPECT_EQ(windingNumber(polygons, point), 0) << degrees;
  }
}

}  // namespace
}  // namespace tallyfox
