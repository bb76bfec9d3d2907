#include "ui/ApplicationIcon.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

namespace tallyfox {
namespace {

using namespace drawing;

/// Enlarges a command about the origin, then moves it.
struct Placement {
  double scale = 1;
  Point offset;

  [[nodiscard]] Point placed(const Point& point) const {
    return {.x = offset.x + scale * point.x, .y = offset.y + scale * point.y};
  }
  [[nodiscard]] Rectangle placed(const Rectangle& rectangle) const {
    const Point corner = placed(Point{.x = rectangle.x, .y = rectangle.y});
    return {.x = corner.x, .y = corner.y, .width = scale * rectangle.width, .height = scale * rectangle.height};
  }

  Command operator()(StrokedRoundedRectangle command) const {
    command.rectangle = placed(command.rectangle);
    command.cornerRadius *= scale;
    command.strokeWidth *= scale;
    return command;
  }
  Command operator()(StrokedLines command) const {
    for (std::vector<Point>& line : command.lines)
      std::ranges::transform(line, line.begin(), [this](const Point& point) { return placed(point); });
    command.strokeWidth *= scale;
    return command;
  }
  Command operator()(StrokedOval command) const {
    command.rectangle = placed(command.rectangle);
    command.strokeWidth *= scale;
    return command;
  }
  Command operator()(FilledOval command) const {
    command.rectangle = placed(command.rectangle);
    return command;
  }
  Command operator()(StrokedArc command) const {
    command.centre = placed(command.centre);
    command.radius *= scale;
    command.strokeWidth *= scale;
    return command;
  }
};

/// How much of the menu-bar icon a square one shows, and where the ink of that lies on the canvas.
struct Extract {
  std::ptrdiff_t commandCount = 0;
  Point inkCentre;
  double inkWidth = 0;
};
constexpr Extract wholeIcon{.commandCount = 5, .inkCentre = {.x = 10.8, .y = 8.55}, .inkWidth = 20.7};
constexpr Extract withoutSignal{.commandCount = 4, .inkCentre = {.x = 9.575, .y = 8.55}, .inkWidth = 18.25};

/// The ink of the extract so wide, in the middle of a square.
Placement centred(const Extract& extract, double side, double width) {
  const double scale = width / extract.inkWidth;
  return {.scale = scale,
          .offset = {.x = side / 2 - scale * extract.inkCentre.x, .y = side / 2 - scale * extract.inkCentre.y}};
}
std::vector<Command> placedAll(std::vector<Command> commands, const Placement& placement) {
  for (Command& command : commands)
    command = std::visit(placement, command);
  return commands;
}

std::vector<Command> squareCommands(const Extract& extract, double side, double width) {
  std::vector<Command> commands = menuBarIcon(0).commands;
  commands.resize(static_cast<std::size_t>(extract.commandCount));
  return placedAll(std::move(commands), centred(extract, side, width));
}

/// The menu-bar icon drawn for sixteen pixels, where strokes that touch would run together: the screen keeps away from
/// the ring, and ring and tick are lighter.
std::vector<Command> sparseCommands() {
  constexpr double screenStroke = 2.1;
  constexpr double badgeStroke = 1.5;
  const auto corner = [](Point centre, double startAngle, double endAngle) {
    return StrokedArc{.centre = centre,
                      .radius = 2.2,
                      .startAngle = startAngle,
                      .endAngle = endAngle,
                      .strokeWidth = screenStroke,
                      .ends = Ends::butt};
  };
  return {StrokedLines{.lines = {{{9.5, 14}, {3.7, 14}}, {{1.5, 11.8}, {1.5, 6.7}}, {{3.7, 4.5}, {11.8, 4.5}}},
                       .strokeWidth = screenStroke},
          corner({3.7, 11.8}, 90, 180),
          corner({3.7, 6.7}, 180, 270),
          corner({11.8, 6.7}, 270, 345),
          menuBarIcon(0).commands.at(1),
          StrokedOval{.rectangle = {.x = 11.05, .y = 8.15, .width = 6.9, .height = 6.9}, .strokeWidth = badgeStroke},
          StrokedLines{
              .lines = {{{12.9, 11.6}, {14.1, 10.4}, {15.9, 12.6}}}, .strokeWidth = badgeStroke, .ends = Ends::round}};
}

FilledOval filledRing(const StrokedOval& ring, double margin) {
  const double by = ring.strokeWidth / 2 + margin;
  return {.rectangle = {.x = ring.rectangle.x - by,
                        .y = ring.rectangle.y - by,
                        .width = ring.rectangle.width + 2 * by,
                        .height = ring.rectangle.height + 2 * by}};
}

}  // namespace

ApplicationIcon applicationIcon(double pixels) {
  constexpr double side = 64;
  constexpr Color white{.red = 1, .green = 1, .blue = 1};
  constexpr Color dark = app_brand::successPill;
  const bool isSmall = pixels < smallIconPixels;
  const double margin = isSmall ? 0 : 4;
  const auto drawn = isSmall ? squareCommands(withoutSignal, side, 50) : squareCommands(wholeIcon, side, 42);
  const auto layer = [&](std::vector<Command> commands, const Color& color) {
    return IconLayer{.image = {.width = side, .height = side, .commands = std::move(commands)}, .color = color};
  };
  const auto& ring = std::get<StrokedOval>(drawn.at(2));
  return {.side = side,
          .plate = {.x = margin, .y = margin, .width = side - 2 * margin, .height = side - 2 * margin},
          .plateCornerRadius = isSmall ? 12.0 : 13.0,
          .plateTop = app_brand::green,
          .plateBottom = dark,
          .layers = {layer({drawn.begin(), drawn.begin() + 2}, white),
                     layer({filledRing(ring, isSmall ? 3 : 2.2)}, dark), layer({filledRing(ring, 0)}, white),
                     layer({drawn.at(3)}, dark), layer({drawn.begin() + 4, drawn.end()}, white)}};
}

TemplateImage symbolicIcon() {
  constexpr double side = 16;
  return {.width = side, .height = side, .commands = placedAll(sparseCommands(), centred(withoutSignal, side, side))};
}

}  // namespace tallyfox
