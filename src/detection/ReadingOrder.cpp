#include "detection/ReadingOrder.hpp"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

namespace tallyfox {

namespace {

/// Texts of one row are often a few points apart: labels and their values, different font sizes.
constexpr double rowHeight = 6.0;

struct PlacedLine {
  TextLine line;
  std::size_t given = 0;
  std::size_t row = 0;
};

}  // namespace

std::vector<std::string> inReadingOrder(std::vector<TextLine> lines) {
  const auto unplaced =
      std::ranges::stable_partition(lines, [](const TextLine& line) { return line.frame.has_value(); });
  const auto placedCount = static_cast<std::size_t>(unplaced.begin() - lines.begin());
  std::vector<PlacedLine> placed;
  placed.reserve(placedCount);
  for (std::size_t i = 0; i < placedCount; ++i)
    placed.push_back({std::move(lines[i]), i, 0});

  std::ranges::stable_sort(placed, {}, [](const PlacedLine& entry) { return entry.line.frame->y; });
  // "Same row" is not transitive between pairs of texts; measured from each row's first text it is a true order.
  std::size_t first = 0;
  for (std::size_t i = 0; i < placed.size(); ++i) {
    if (placed[i].line.frame->y - placed[first].line.frame->y > rowHeight) first = i;
    placed[i].row = first;
  }
  std::ranges::sort(placed, {},
                    [](const PlacedLine& entry) { return std::tuple(entry.row, entry.line.frame->x, entry.given); });

  std::vector<std::string> texts;
  texts.reserve(lines.size());
  for (PlacedLine& entry : placed)
    texts.push_back(std::move(entry.line.text));
  for (TextLine& line : unplaced)
    texts.push_back(std::move(line.text));
  return texts;
}

}  // namespace tallyfox
