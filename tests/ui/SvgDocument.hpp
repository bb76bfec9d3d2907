#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

/// Reads back the SVG that the product writes: its paths as polygons, with y downwards.

using Polygon = std::vector<drawing::Point>;

/// The value of an attribute of the first element so named.
inline std::string svgAttribute(const std::string& svg, const std::string& element, const std::string& name) {
  std::smatch match;
  const std::regex pattern("<" + element + R"re(\b[^>]*\s)re" + name + R"re(="([^"]*)")re");
  if (!std::regex_search(svg, match, pattern)) throw std::runtime_error("no " + name + " of " + element + " in " + svg);
  return match[1];
}

/// The data of every path, in their order.
inline std::vector<std::string> svgPaths(const std::string& svg) {
  static const std::regex pattern(R"re(<path fill="[^"]+" d="([^"]*)"/>)re");
  std::vector<std::string> paths;
  for (std::sregex_iterator at(svg.begin(), svg.end(), pattern), end; at != end; ++at)
    paths.push_back((*at)[1]);
  return paths;
}

/// Adds a circle's arc from the polygon's last point, by the conversion that the format itself describes.
inline void addArc(Polygon& polygon, double radius, bool isLarge, bool isClockwise, drawing::Point to) {
  const drawing::Point from = polygon.back();
  const double dx = (from.x - to.x) / 2;
  const double dy = (from.y - to.y) / 2;
  const double halfChord = dx * dx + dy * dy;
  const double reach = std::sqrt(std::max(radius * radius - halfChord, 0.0) / halfChord);
  const double side = isLarge == isClockwise ? -1 : 1;
  const drawing::Point centre{(from.x + to.x) / 2 + side * reach * dy, (from.y + to.y) / 2 - side * reach * dx};
  const double start = std::atan2(from.y - centre.y, from.x - centre.x);
  double sweep = std::atan2(to.y - centre.y, to.x - centre.x) - start;
  if (isClockwise && sweep < 0) sweep += 2 * std::numbers::pi;
  if (!isClockwise && sweep > 0) sweep -= 2 * std::numbers::pi;
  constexpr int steps = 64;
  for (int i = 1; i < steps; ++i)
    polygon.push_back({centre.x + radius * std::cos(start + sweep * i / steps),
                       centre.y + radius * std::sin(start + sweep * i / steps)});
  polygon.push_back(to);
}

inline std::vector<Polygon> svgPolygons(const std::string& pathData) {
  std::istringstream stream(pathData);
  stream.imbue(std::locale::classic());
  std::vector<Polygon> polygons;
  char command = 0;
  drawing::Point point;
  double radiusX = 0;
  double radiusY = 0;
  double rotation = 0;
  bool isLarge = false;
  bool isClockwise = false;
  while (stream >> command) {
    if (command == 'Z') continue;
    if (command == 'A') stream >> radiusX >> radiusY >> rotation >> isLarge >> isClockwise;
    if (!(stream >> point.x >> point.y)) throw std::runtime_error("broken off: " + pathData);
    if (command == 'M')
      polygons.push_back({point});
    else if (command == 'L')
      polygons.back().push_back(point);
    else if (command == 'A' && radiusX == radiusY && rotation == 0)
      addArc(polygons.back(), radiusX, isLarge, isClockwise, point);
    else
      throw std::runtime_error("not understood: " + pathData);
  }
  return polygons;
}

/// How often the polygons go round a point, clockwise on the page counting positive. A renderer fills what is not 0.
inline int windingNumber(const std::vector<Polygon>& polygons, drawing::Point point) {
  int winding = 0;
  for (const Polygon& polygon : polygons) {
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const drawing::Point a = polygon[i];
      const drawing::Point b = polygon[(i + 1) % polygon.size()];
      if ((a.y <= point.y) == (b.y <= point.y)) continue;
      const double x = a.x + (point.y - a.y) / (b.y - a.y) * (b.x - a.x);
      if (x > point.x) winding += b.y > a.y ? 1 : -1;
    }
  }
  return winding;
}

}  // namespace tallyfox
