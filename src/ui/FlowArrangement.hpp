#pragma once

#include <vector>

#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

struct FlowSize {
  double width = 0;
  double height = 0;
};

/// Things in a line, and where they do not fit beside each other, in further lines below: their places from the top
/// left, y downwards, none wider than `width`, with `gap` between them both ways.
[[nodiscard]] std::vector<drawing::Rectangle> flowArrangement(const std::vector<FlowSize>& sizes, double width,
                                                              double gap);

/// The height of all of them.
[[nodiscard]] double flowHeight(const std::vector<drawing::Rectangle>& places);

}  // namespace tallyfox
