#include "platform/linux/window/StatusSymbols.hpp"

#include <array>
#include <string_view>
#include <utility>

namespace tallyfox::linux_os {
namespace {

using namespace drawing;
using Commands = std::vector<Command>;

constexpr double stroke = 1.5;

StrokedLines lines(std::vector<std::vector<Point>> points) {
  return {.lines = std::move(points), .strokeWidth = stroke, .ends = Ends::round};
}
StrokedArc arc(Point centre, double radius, double startAngle, double endAngle) {
  return {.centre = centre,
          .radius = radius,
          .startAngle = startAngle,
          .endAngle = endAngle,
          .strokeWidth = stroke,
          .ends = Ends::round};
}
StrokedOval circle() {
  return {.rectangle = {.x = 1.75, .y = 1.75, .width = 16.5, .height = 16.5}, .strokeWidth = stroke};
}

Commands folder() {
  return {
      lines({{{2.5, 13.5}, {2.5, 4.5}, {17.5, 4.5}, {17.5, 13.5}, {10, 13.5}, {8.2, 15.7}, {2.5, 15.7}, {2.5, 12}}})};
}

/// A person with outstretched arms.
Commands figure() {
  return {
      circle(), FilledOval{.rectangle = {.x = 8.6, .y = 13, .width = 2.8, .height = 2.8}},
      lines({{{5.9, 11.5}, {10, 10.7}, {14.1, 11.5}}, {{10, 10.7}, {10, 8.2}}, {{7.9, 4.7}, {10, 8.4}, {12.1, 4.7}}})};
}

Commands clockwiseArrow() {
  return {circle(), arc({10, 10}, 3.7, 70, 370), lines({{{9.7, 12.4}, {11.9, 13.3}, {10.8, 15.3}}})};
}

Commands downArrow() {
  return {circle(), lines({{{10, 13.8}, {10, 6.4}}, {{6.9, 9.4}, {10, 6.3}, {13.1, 9.4}}})};
}

Commands bell() {
  return {arc({10, 11}, 4.6, 0, 180),
          lines({{{5.4, 11}, {5.4, 8.4}, {3.6, 5.6}, {16.4, 5.6}, {14.6, 8.4}, {14.6, 11}}, {{10, 15.8}, {10, 16.8}}}),
          arc({10, 4.6}, 1.9, 205, 335)};
}

Commands struckBell() {
  Commands commands = bell();
  commands.emplace_back(lines({{{3.2, 16.8}, {16.8, 3.2}}}));
  return commands;
}

}  // namespace

TemplateImage statusSymbol(const std::string& name) {
  constexpr std::array<std::pair<std::string_view, Commands (*)()>, 6> symbols = {
      {{"folder", folder},
       {"figure.wave.circle.fill", figure},
       {"arrow.clockwise.circle", clockwiseArrow},
       {"arrow.down.circle", downArrow},
       {"bell", bell},
       {"bell.slash", struckBell}}};
  TemplateImage image{.width = symbolSide, .height = symbolSide, .commands = {}};
  for (const auto& [known, draw] : symbols)
    if (known == name) image.commands = draw();
  return image;
}

}  // namespace tallyfox::linux_os
