#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tallyfox {

/// Drawings as lists of commands, for any toolkit with vector drawing: in points, the origin at the bottom left, all in
/// one colour. Angles are in degrees, counter-clockwise from the right.
namespace drawing {

struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};
struct Rectangle {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  bool operator==(const Rectangle&) const = default;
};
enum class Ends { butt, round };  ///< of a stroke, and how its corners join (mitre, round)

struct StrokedRoundedRectangle {
  Rectangle rectangle;
  double cornerRadius = 0;
  double strokeWidth = 0;
  bool operator==(const StrokedRoundedRectangle&) const = default;
};
/// One path of several lines, each through its points.
struct StrokedLines {
  std::vector<std::vector<Point>> lines;
  double strokeWidth = 0;
  Ends ends = Ends::butt;
  bool operator==(const StrokedLines&) const = default;
};
struct StrokedOval {
  Rectangle rectangle;
  double strokeWidth = 0;
  bool operator==(const StrokedOval&) const = default;
};
struct FilledOval {
  Rectangle rectangle;
  bool operator==(const FilledOval&) const = default;
};
struct StrokedArc {
  Point centre;
  double radius = 0;
  double startAngle = 0;
  double endAngle = 0;  ///< above startAngle
  double strokeWidth = 0;
  Ends ends = Ends::butt;
  bool operator==(const StrokedArc&) const = default;
};

using Command = std::variant<StrokedRoundedRectangle, StrokedLines, StrokedOval, FilledOval, StrokedArc>;

}  // namespace drawing

/// A drawing that takes on the colour of its surroundings.
struct TemplateImage {
  double width = 0;
  double height = 0;
  std::vector<drawing::Command> commands;  ///< drawn in this order
  bool operator==(const TemplateImage&) const = default;
};

/// A screen with a ring and a tick; a dot beside them says that approvals are pending, however many.
[[nodiscard]] TemplateImage menuBarIcon(std::int64_t pendingCount);

/// The length of the item in the menu bar, in points: wider while approvals are pending, to make room for the dot.
[[nodiscard]] double menuBarItemLength(std::int64_t pendingCount);

inline constexpr const char* menuBarToolTip = "Tallyfox";

/// What the item says to whoever cannot see its dot.
[[nodiscard]] std::string menuBarLabel(std::int64_t pendingCount);

}  // namespace tallyfox
