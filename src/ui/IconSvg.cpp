#include "ui/IconSvg.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>
#include <variant>

namespace tallyfox {
namespace {

using namespace drawing;

/// To a ten-thousandth of a point, and never "-0".
std::string number(double value) {
  constexpr double precision = 10'000;
  return fmt::format("{}", std::round(value * precision) / precision + 0.0);
}

std::string hexColor(const Color& color) {
  const auto byte = [](double component) {
    return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
  };
  return fmt::format("#{:02x}{:02x}{:02x}", byte(color.red), byte(color.green), byte(color.blue));
}

/// Which way round an outline goes on the page. What is added to a path goes clockwise, what is cut out of it goes the
/// other way, so that under the non-zero rule overlapping shapes unite.
enum class Turn { counterclockwise, clockwise };

/// The data of one path, from points with y upwards.
class PathData {
 public:
  explicit PathData(double height) : height_(height) {}

  void moveTo(const Point& point) { text_ += fmt::format("M{}", onPage(point)); }
  void lineTo(const Point& point) { text_ += fmt::format("L{}", onPage(point)); }
  void arcTo(const Point& end, double radiusX, double radiusY, Turn turn, bool isLarge = false) {
    text_ += fmt::format("A{} {} 0 {:d} {:d} {}", number(radiusX), number(radiusY), isLarge, turn == Turn::clockwise,
                         onPage(end));
  }
  void close() { text_ += "Z"; }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  [[nodiscard]] std::string onPage(const Point& point) const {
    return number(point.x) + " " + number(height_ - point.y);
  }

  double height_;
  std::string text_;
};

Rectangle grown(const Rectangle& rectangle, double by) {
  return {.x = rectangle.x - by,
          .y = rectangle.y - by,
          .width = rectangle.width + 2 * by,
          .height = rectangle.height + 2 * by};
}

Point added(const Point& one, const Point& other) {
  return {.x = one.x + other.x, .y = one.y + other.y};
}
Point subtracted(const Point& one, const Point& other) {
  return {.x = one.x - other.x, .y = one.y - other.y};
}

void addOval(PathData& path, const Rectangle& rectangle, Turn turn) {
  const double radiusX = rectangle.width / 2;
  const double radiusY = rectangle.height / 2;
  const Point left{.x = rectangle.x, .y = rectangle.y + radiusY};
  path.moveTo(left);
  path.arcTo({.x = left.x + rectangle.width, .y = left.y}, radiusX, radiusY, turn);
  path.arcTo(left, radiusX, radiusY, turn);
  path.close();
}

void addRoundedRectangle(PathData& path, const Rectangle& rectangle, double radius, Turn turn) {
  const double right = rectangle.x + rectangle.width;
  const double top = rectangle.y + rectangle.height;
  // The ends of the four straight sides, clockwise from the left end of the top.
  std::vector<Point> ends = {
      {rectangle.x + radius, top},         {right - radius, top},         {right, top - radius},
      {right, rectangle.y + radius},       {right - radius, rectangle.y}, {rectangle.x + radius, rectangle.y},
      {rectangle.x, rectangle.y + radius}, {rectangle.x, top - radius}};
  if (turn == Turn::counterclockwise) std::ranges::reverse(ends);
  path.moveTo(ends.front());
  for (std::size_t i = 1; i < ends.size(); ++i) {
    if (i % 2 == 1)
      path.lineTo(ends[i]);
    else
      path.arcTo(ends[i], radius, radius, turn);
  }
  path.arcTo(ends.front(), radius, radius, turn);
  path.close();
}

/// Half the width of a line, to the right as seen along it.
Point halfAcross(const Point& from, const Point& to, double width) {
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  return {.x = (to.y - from.y) / length * width / 2, .y = (from.x - to.x) / length * width / 2};
}

/// One straight piece of a line; its round ends are also the round joins with its neighbours.
void addSegment(PathData& path, const Point& from, const Point& to, double width, Ends ends) {
  const Point across = halfAcross(from, to, width);
  const auto toOtherEdge = [&](const Point& point) {
    if (ends == Ends::round)
      path.arcTo(point, width / 2, width / 2, Turn::clockwise);
    else
      path.lineTo(point);
  };
  path.moveTo(subtracted(from, across));
  path.lineTo(subtracted(to, across));
  toOtherEdge(added(to, across));
  path.lineTo(added(from, across));
  toOtherEdge(subtracted(from, across));
  path.close();
}

/// What two pieces of a line with flat ends leave open on the outer side of their corner.
void addMitre(PathData& path, const Point& before, const Point& corner, const Point& after, double width) {
  Point first = halfAcross(before, corner, width);
  Point second = halfAcross(corner, after, width);
  // Both edges of a turn to the right have their outer side on the left.
  const double turn = first.x * second.y - first.y * second.x;
  if (turn == 0) return;
  if (turn < 0) {
    first = {.x = -first.x, .y = -first.y};
    second = {.x = -second.x, .y = -second.y};
  } else {
    std::swap(first, second);
  }
  const double stretch = 1 + (first.x * second.x + first.y * second.y) * 4 / (width * width);
  path.moveTo(corner);
  path.lineTo(added(corner, first));
  path.lineTo({.x = corner.x + (first.x + second.x) / stretch, .y = corner.y + (first.y + second.y) / stretch});
  path.lineTo(added(corner, second));
  path.close();
}

struct OutlineWriter {
  PathData& path;

  void operator()(const StrokedRoundedRectangle& command) const {
    const double half = command.strokeWidth / 2;
    addRoundedRectangle(path, grown(command.rectangle, half), command.cornerRadius + half, Turn::clockwise);
    addRoundedRectangle(path, grown(command.rectangle, -half), std::max(command.cornerRadius - half, 0.0),
                        Turn::counterclockwise);
  }
  void operator()(const StrokedLines& command) const {
    for (const std::vector<Point>& line : command.lines) {
      for (std::size_t i = 1; i < line.size(); ++i)
        addSegment(path, line[i - 1], line[i], command.strokeWidth, command.ends);
      if (command.ends == Ends::round) continue;
      for (std::size_t i = 2; i < line.size(); ++i)
        addMitre(path, line[i - 2], line[i - 1], line[i], command.strokeWidth);
    }
  }
  void operator()(const StrokedOval& command) const {
    addOval(path, grown(command.rectangle, command.strokeWidth / 2), Turn::clockwise);
    addOval(path, grown(command.rectangle, -command.strokeWidth / 2), Turn::counterclockwise);
  }
  void operator()(const FilledOval& command) const { addOval(path, command.rectangle, Turn::clockwise); }
  void operator()(const StrokedArc& command) const {
    const double half = command.strokeWidth / 2;
    const double outer = command.radius + half;
    const double inner = command.radius - half;
    const auto at = [&](double degrees, double radius) {
      const double angle = degrees * std::numbers::pi / 180;
      return added(command.centre, {.x = radius * std::cos(angle), .y = radius * std::sin(angle)});
    };
    const auto toOtherEdge = [&](const Point& point) {
      if (command.ends == Ends::round)
        path.arcTo(point, half, half, Turn::clockwise);
      else
        path.lineTo(point);
    };
    const bool isLarge = command.endAngle - command.startAngle > 180;
    path.moveTo(at(command.endAngle, outer));
    path.arcTo(at(command.startAngle, outer), outer, outer, Turn::clockwise, isLarge);
    toOtherEdge(at(command.startAngle, inner));
    path.arcTo(at(command.endAngle, inner), inner, inner, Turn::counterclockwise, isLarge);
    toOtherEdge(at(command.endAngle, outer));
    path.close();
  }
};

std::string path(const TemplateImage& image, std::string_view fill) {
  PathData data(image.height);
  for (const Command& command : image.commands)
    std::visit(OutlineWriter{data}, command);
  return fmt::format("  <path fill=\"{}\" d=\"{}\"/>\n", fill, data.text());
}

std::string document(double width, double height, const std::string& content) {
  return fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\">\n"
      "{2}</svg>\n",
      number(width), number(height), content);
}

}  // namespace

std::string svgText(const TemplateImage& image) {
  return document(image.width, image.height, path(image, "currentColor"));
}

std::string svgText(const TemplateImage& image, const Color& color) {
  return document(image.width, image.height, path(image, hexColor(color)));
}

std::string svgText(const ApplicationIcon& icon) {
  std::string content = fmt::format(
      "  <linearGradient id=\"plate\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">\n"
      "    <stop offset=\"0\" stop-color=\"{}\"/>\n"
      "    <stop offset=\"1\" stop-color=\"{}\"/>\n"
      "  </linearGradient>\n"
      "  <rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" rx=\"{}\" fill=\"url(#plate)\"/>\n",
      hexColor(icon.plateTop), hexColor(icon.plateBottom), number(icon.plate.x),
      number(icon.side - icon.plate.y - icon.plate.height), number(icon.plate.width), number(icon.plate.height),
      number(icon.plateCornerRadius));
  for (const IconLayer& layer : icon.layers)
    content += path(layer.image, hexColor(layer.color));
  return document(icon.side, icon.side, content);
}

}  // namespace tallyfox
