#pragma once

#include <expected>
#include <string>

#include "base/Json.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox {

/// One button of a dialog, as it stood on the screen when it was read.
struct DialogButton {
  std::string label;  ///< the button's title exactly as shown
  std::string role;   ///< accessibility role, normally "AXButton"
  double x = 0;       ///< screen frame in points, origin at the top left
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const DialogButton&) const = default;
  [[nodiscard]] DialogFrame frame() const { return {x, y, width, height}; }

  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<DialogButton, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox

template <>
struct std::hash<tallyfox::DialogButton> {
  std::size_t operator()(const tallyfox::DialogButton& button) const noexcept;
};
