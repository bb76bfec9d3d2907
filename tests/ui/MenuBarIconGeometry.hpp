#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

/// Where the menu-bar icon has ink, worked out by distances to its lines and circles alone, and not by any way to draw.

inline double toSegment(drawing::Point p, drawing::Point a, drawing::Point b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
  return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

/// Of a line with flat ends, as a signed distance to its outline.
inline double toFlatLine(drawing::Point p, drawing::Point a, drawing::Point b, double width) {
  const double length = std::hypot(b.x - a.x, b.y - a.y);
  const double along = ((p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y)) / length;
  const double across = std::abs((p.x - a.x) * (b.y - a.y) - (p.y - a.y) * (b.x - a.x)) / length;
  return std::max({-along, along - length, across - width / 2});
}

inline double toScreen(drawing::Point p) {
  constexpr double radius = 2.2;
  const double dx = std::abs(p.x - 7.75) - (6.25 - radius);
  const double dy = std::abs(p.y - 9.25) - (4.75 - radius);
  const double distance = std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - radius;
  return std::abs(distance) - 1.05;
}

inline double toStand(drawing::Point p) {
  return std::min({toFlatLine(p, {6.5, 4.5}, {5.5, 2.3}, 1.8), toFlatLine(p, {9.0, 4.5}, {10.0, 2.3}, 1.8),
                   toFlatLine(p, {4.5, 2.2}, {11.1, 2.2}, 1.8)});
}

inline double toRing(drawing::Point p) {
  return std::abs(std::hypot(p.x - 14.5, p.y - 11.6) - 3.3) - 0.9;
}

inline double toTick(drawing::Point p) {
  return std::min(toSegment(p, {13.0, 11.6}, {14.4, 10.2}), toSegment(p, {14.4, 10.2}, {16.2, 12.7})) - 0.9;
}

inline double toSignal(drawing::Point p) {
  const auto onArc = [](double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    return drawing::Point{17.3 + 3 * std::cos(angle), 11.7 + 3 * std::sin(angle)};
  };
  const double angle = std::atan2(p.y - 11.7, p.x - 17.3) * 180 / std::numbers::pi;
  if (angle >= -18 && angle <= 45) return std::abs(std::hypot(p.x - 17.3, p.y - 11.7) - 3) - 0.85;
  const auto toEnd = [&](drawing::Point end) { return std::hypot(p.x - end.x, p.y - end.y) - 0.85; };
  return std::min(toEnd(onArc(-18)), toEnd(onArc(45)));
}

inline double toDot(drawing::Point p) {
  return std::hypot(p.x - 24.6, p.y - 13.4) - 4.1;
}

/// Negative inside what is to be painted.
inline double distanceToMenuBarIcon(drawing::Point p, bool hasDot) {
  const double drawing = std::min({toScreen(p), toStand(p), toRing(p), toTick(p), toSignal(p)});
  return hasDot ? std::min(drawing, toDot(p)) : drawing;
}

}  // namespace tallyfox
