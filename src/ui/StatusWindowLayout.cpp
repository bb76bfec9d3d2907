#include "ui/StatusWindowLayout.hpp"

#include <algorithm>

namespace tallyfox {

StatusWindowFit statusWindowFit(StatusWindowContentSize visibleArea, double compactHeight, double wideHeight) {
  using namespace status_window_layout;
  const double mostWidth = std::max(visibleArea.width - 2 * screenMargin, 0.0);
  const double mostHeight = std::max(visibleArea.height - 2 * screenMargin, 0.0);
  const bool isWide = compactHeight > mostHeight && wideHeight < compactHeight && wideWidth <= mostWidth;
  return {.layout = isWide ? StatusWindowLayout::wide : StatusWindowLayout::compact,
          .size = {.width = std::min(isWide ? wideWidth : compactWidth, mostWidth),
                   .height = std::min(isWide ? wideHeight : compactHeight, mostHeight)}};
}

drawing::Point keptOnScreen(const drawing::Rectangle& frame, const drawing::Rectangle& visibleArea) {
  const auto kept = [](double start, double length, double areaStart, double areaLength) {
    return std::clamp(start, areaStart, std::max(areaStart, areaStart + areaLength - length));
  };
  return {.x = kept(frame.x, frame.width, visibleArea.x, visibleArea.width),
          .y = kept(frame.y, frame.height, visibleArea.y, visibleArea.height)};
}

}  // namespace tallyfox
