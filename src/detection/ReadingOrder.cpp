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
  DialogFrame frame;
  std::size_t given = 0;
  std::size_t row = 0;
};

}  // namespace

std::vector<std::string> inReadingOrder(std::vector<TextLine> lines) {
  std::vector<PlacedLine> placed;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].frame) placed.push_back({*lines[i].frame, i, 0});
  }
  std::ranges::sort(placed, {}, [](const PlacedLine& line) { return std::tuple(line.frame.y, line.given); });
  // "Same row" is not transitive between pairs of texts; measured from each row's first text it is a true order.
  std::size_t first = 0;
  for (std::size_t i = 0; i < placed.size(); ++i) {
    if (placed[i].frame.y - placed[first].frame.y > rowHeight) first = i;
    placed[i].row = first;
  }
  std::ranges::sort(placed, {}, [](const PlacedLine& line) { return std::tuple(line.row, line.frame.x, line.given); });

  std::vector<std::string> texts;
  texts.reserve(lines.size());
  for (const PlacedLine& line : placed)
    texts.push_back(std::move(lines[line.given].text));
  for (TextLine& line : lines) {
    if (!line.frame) texts.push_back(std::move(line.text));
  }
  return texts;
}

}  // namespace tallyfox
