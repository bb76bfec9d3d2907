#include "ui/FlowArrangement.hpp"

#include <algorithm>

namespace tallyfox {

std::vector<drawing::Rectangle> flowArrangement(const std::vector<FlowSize>& sizes, double width, double gap) {
  std::vector<drawing::Rectangle> places;
  double x = 0;
  double y = 0;
  double lineHeight = 0;
  for (const FlowSize& size : sizes) {
    const double itemWidth = std::min(size.width, width);
    if (x > 0 && x + itemWidth > width) {
      x = 0;
      y += lineHeight + gap;
      lineHeight = 0;
    }
    places.push_back({.x = x, .y = y, .width = itemWidth, .height = size.height});
    x += itemWidth + gap;
    lineHeight = std::max(lineHeight, size.height);
  }
  return places;
}

double flowHeight(const std::vector<drawing::Rectangle>& places) {
  double height = 0;
  for (const drawing::Rectangle& place : places)
    height = std::max(height, place.y + place.height);
  return height;
}

}  // namespace tallyfox
