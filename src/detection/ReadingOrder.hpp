#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"

namespace tallyfox {

/// One text of a window and where it stands, if that is known.
struct TextLine {
  std::string text;
  std::optional<DialogFrame> frame;

  bool operator==(const TextLine&) const = default;
};

/// The texts from top to bottom, those of one row from left to right. A row holds every text whose top edge is at most
/// 6 points below that of its topmost one. Equal places keep the given order; texts without a place come last. Pure.
[[nodiscard]] std::vector<std::string> inReadingOrder(std::vector<TextLine> lines);

}  // namespace tallyfox
