// Drawings as SVG: read back and compared, point by point, with what the drawing's numbers say is to be inked.

#include "ui/IconSvg.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/ForeignLocale.hpp"
#include "ui/MenuBarIconGeometry.hpp"
#include "ui/SvgDocument.hpp"

namespace tallyfox {
namespace {

using namespace drawing;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Compares on a fine grid, but for what lies within a hair of an edge, and tells how many points had ink.
template <typename Distance>
int expectInk(const TemplateImage& image, Distance distance) {
  constexpr double step = 0.2;
  constexpr double hair = 0.01;
  const std::vector<Polygon> polygons = svgPolygons(svgPaths(svgText(image)).at(0));
  int inked = 0;
  int wrong = 0;
  for (double x = -1 + step / 3; x < image.width + 1; x += step) {
    for (double y = -1 + step / 3; y < image.height + 1; y += step) {
      const double away = distance(Point{x, y});
      if (std::abs(away) < hair) continue;
      const int winding = windingNumber(polygons, {x, image.height - y});
      if (winding < 0) ++wrong;
      if (winding != 0) ++inked;
      if ((winding != 0) != (away < 0) && ++wrong < 5) ADD_FAILURE() << "at " << x << ", " << y;
    }
  }
  EXPECT_EQ(wrong, 0);
  return inked;
}

TEST(IconSvg, drawsTheMenuBarIconByItsGeometry) {
  for (const std::int64_t count : {0, 1, 57}) {
    const bool hasDot = count > 0;
    const int inked =
        expectInk(menuBarIcon(count), [&](const Point& point) { return distanceToMenuBarIcon(point, hasDot); });
    EXPECT_GT(inked, hasDot ? 4'000 : 3'000);
  }
}

TEST(IconSvg, isAsLargeAsTheDrawing) {
  EXPECT_THAT(svgText(menuBarIcon(0)), testing::StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"22\" "
                                                           "height=\"18\" viewBox=\"0 0 22 18\">\n"));
  EXPECT_EQ(svgAttribute(svgText(menuBarIcon(1)), "svg", "viewBox"), "0 0 30 18");
  EXPECT_EQ(svgText(menuBarIcon(1)), svgText(menuBarIcon(57)));
}

TEST(IconSvg, turnsTheDrawingToThePagesDirection) {
  const TemplateImage dot{.width = 10, .height = 8, .commands = {FilledOval{{1, 5, 2, 2}}}};
  EXPECT_THAT(svgPaths(svgText(dot)), ElementsAre("M1 2A1 1 0 0 1 3 2A1 1 0 0 1 1 2Z"));
}

TEST(IconSvg, takesItsSurroundingsColourOrTheOneGiven) {
  EXPECT_EQ(svgAttribute(svgText(menuBarIcon(0)), "path", "fill"), "currentColor");
  EXPECT_EQ(svgAttribute(svgText(menuBarIcon(0), app_brand::green), "path", "fill"), "#29c757");
  EXPECT_EQ(svgAttribute(svgText(menuBarIcon(0), Color{.red = 1.5, .green = -1, .blue = 0}), "path", "fill"),
            "#ff0000");
}

TEST(IconSvg, hasFilledShapesAloneSoThatDesktopsCanRecolourIt) {
  EXPECT_THAT(svgText(symbolicIcon()), Not(HasSubstr("stroke")));
  EXPECT_THAT(svgText(symbolicIcon()), Not(HasSubstr("none")));
}

TEST(IconSvg, writesShortNumbersInNoLocale) {
  const TemplateImage dot{.width = 1.0 / 3, .height = 1, .commands = {FilledOval{{-0.00001, 0.25, 0.5, 0.5}}}};
  const std::string expected =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"0.3333\" height=\"1\" "
      "viewBox=\"0 0 0.3333 1\">\n  <path fill=\"currentColor\" "
      "d=\"M0 0.5A0.25 0.25 0 0 1 0.5 0.5A0.25 0.25 0 0 1 0 0.5Z\"/>\n</svg>\n";
  EXPECT_EQ(svgText(dot), expected);
  const ForeignLocale foreign;
  ASSERT_TRUE(ForeignLocale::isInForce());
  EXPECT_EQ(svgText(dot), expected);
}

TEST(IconSvgLines, meetInAMitreWhereTheirEndsAreFlat) {
  // A right angle, once to the left and once to the right: its ink is an L, sharp at its outer corner.
  for (const double turn : {1.0, -1.0}) {
    const TemplateImage corner{
        .width = 10, .height = 20, .commands = {StrokedLines{{{{1, 10}, {8, 10}, {8, 10 + turn * 8}}}, 2}}};
    const int inked = expectInk(corner, [&](const Point& point) {
      const auto toBox = [&](double left, double bottom, double right, double top) {
        const double y = (point.y - 10) * turn;
        return std::max({left - point.x, point.x - right, bottom - y, y - top});
      };
      return std::min(toBox(1, -1, 9, 1), toBox(7, -1, 9, 8));
    });
    EXPECT_GT(inked, 600);
  }
}

TEST(IconSvgLines, areRoundAtEndsAndCornersWhereTheyAreAskedToBe) {
  const TemplateImage line{
      .width = 12, .height = 12, .commands = {StrokedLines{{{{2, 2}, {9, 3}, {4, 9}}}, 3, Ends::round}}};
  EXPECT_GT(expectInk(line,
                      [](const Point& point) {
                        return std::min(toSegment(point, {2, 2}, {9, 3}), toSegment(point, {9, 3}, {4, 9})) - 1.5;
                      }),
            1'000);
}

TEST(IconSvgArcs, goTheLongWayRoundWhereTheyAreLong) {
  const auto arc = [](double start, double end, Ends ends) {
    return TemplateImage{.width = 12, .height = 12, .commands = {StrokedArc{{6, 6}, 4, start, end, 2, ends}}};
  };
  const auto ring = [](const Point& point) { return std::abs(std::hypot(point.x - 6, point.y - 6) - 4) - 1; };
  // Three quarters of a ring: all but what lies to the right and below.
  EXPECT_GT(expectInk(arc(0, 270, Ends::butt),
                      [&](const Point& point) {
                        const double cut = std::min(point.x - 6, 6 - point.y);
                        return std::max(ring(point), cut);
                      }),
            800);
  // The quarter to the right and above, with two half discs at its ends.
  EXPECT_GT(expectInk(arc(0, 90, Ends::round),
                      [&](const Point& point) {
                        const double quarter = std::max({ring(point), 6 - point.x, 6 - point.y});
                        return std::min({quarter, std::hypot(point.x - 10, point.y - 6) - 1,
                                         std::hypot(point.x - 6, point.y - 10) - 1});
                      }),
            300);
}

TEST(IconSvgApplicationIcon, hasItsPlateAndItsLayersInTheirOrder) {
  const ApplicationIcon icon = applicationIcon(64);
  const std::string svg = svgText(icon);
  EXPECT_EQ(svgAttribute(svg, "svg", "viewBox"), "0 0 64 64");
  EXPECT_EQ(svgAttribute(svg, "rect", "x"), "4");
  EXPECT_EQ(svgAttribute(svg, "rect", "y"), "4");
  EXPECT_EQ(svgAttribute(svg, "rect", "width"), "56");
  EXPECT_EQ(svgAttribute(svg, "rect", "rx"), "13");
  EXPECT_EQ(svgAttribute(svg, "rect", "fill"), "url(#plate)");
  EXPECT_THAT(svg, HasSubstr("<stop offset=\"0\" stop-color=\"#29c757\"/>\n    <stop offset=\"1\" "
                             "stop-color=\"#0a5c2e\"/>"));
  const std::vector<std::string> paths = svgPaths(svg);
  ASSERT_EQ(paths.size(), icon.layers.size());
  for (std::size_t i = 0; i < paths.size(); ++i)
    EXPECT_EQ(paths[i], svgPaths(svgText(icon.layers[i].image)).at(0)) << i;
  EXPECT_NE(svg.find("<linearGradient"), std::string::npos);
  EXPECT_LT(svg.find("<rect"), svg.find("<path"));
}

}  // namespace
}  // namespace tallyfox
