#pragma once

#include <expected>
#include <string>

#include "base/Json.hpp"

namespace tallyfox {

/// A rectangle on the screen in points, origin at the top left, y growing downward.
struct DialogFrame {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const DialogFrame&) const = default;

  /// The four fields truncated toward zero, joined with commas: 120,88,420,190. A value that is not finite or outside
  /// the signed 64-bit range stops the process; readers of foreign windows reject such frames before a record is built.
  [[nodiscard]] std::string identity() const;
  [[nodiscard]] double centerX() const { return x + width / 2; }
  [[nodiscard]] double centerY() const { return y + height / 2; }

  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<DialogFrame, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox

template <>
struct std::hash<tallyfox::DialogFrame> {
  std::size_t operator()(const tallyfox::DialogFrame& frame) const noexcept;
};
