#pragma once

#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

/// Sizes of the status window, in points.
namespace status_window_layout {
inline constexpr double sideMargin = 16;
inline constexpr double topMargin = 4;
inline constexpr double bottomMargin = 12;
inline constexpr double spacing = 8;  ///< between cards, and between the columns of the wide layout
inline constexpr double cardCornerRadius = 8;
inline constexpr double cardPadding = 12;
inline constexpr double codeSide = 208;  ///< of the pairing code
inline constexpr double compactWidth = 440;
inline constexpr double wideWidth = 780;
inline constexpr double screenMargin = 24;  ///< kept free around the window
}  // namespace status_window_layout

/// Compact: one column, the pairing card above the rows. Wide: the pairing card beside the rows, for screens too low
/// for the column.
enum class StatusWindowLayout { compact, wide };

struct StatusWindowContentSize {
  double width = 0;
  double height = 0;
  bool operator==(const StatusWindowContentSize&) const = default;
};

struct StatusWindowFit {
  StatusWindowLayout layout = StatusWindowLayout::compact;
  StatusWindowContentSize size;  ///< what does not fit in it is scrolled
  bool operator==(const StatusWindowFit&) const = default;
};

/// The layout and size of the window on a screen whose visible area is given, for content of these heights.
[[nodiscard]] StatusWindowFit statusWindowFit(StatusWindowContentSize visibleArea, double compactHeight,
                                              double wideHeight);

/// Where the window's frame is to lie so that all of it is inside the visible area, its top left corner first where it
/// is larger. Both from the top left, y downwards.
[[nodiscard]] drawing::Point keptOnScreen(const drawing::Rectangle& frame, const drawing::Rectangle& visibleArea);

}  // namespace tallyfox
