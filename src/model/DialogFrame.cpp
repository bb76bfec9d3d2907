#include "model/DialogFrame.hpp"

#include <fmt/format.h>

#include <cmath>

#include "base/Require.hpp"
#include "model/Hashing.hpp"

namespace tallyfox {
namespace {

std::int64_t truncatedToInteger(double value) {
  require(std::isfinite(value) && value >= -0x1p63 && value < 0x1p63, "a dialog's frame fits whole numbers");
  return static_cast<std::int64_t>(value);
}

}  // namespace

std::string DialogFrame::identity() const {
  return fmt::format("{},{},{},{}", truncatedToInteger(x), truncatedToInteger(y), truncatedToInteger(width),
                     truncatedToInteger(height));
}

Json DialogFrame::json() const {
  return {{"x", x}, {"y", y}, {"width", width}, {"height", height}};
}

std::expected<DialogFrame, DecodingError> DialogFrame::decoded(const Json& value) {
  JsonObjectReader reader(value);
  DialogFrame frame;
  frame.x = reader.number("x");
  frame.y = reader.number("y");
  frame.width = reader.number("width");
  frame.height = reader.number("height");
  return reader.finish(frame);
}

}  // namespace tallyfox

std::size_t std::hash<tallyfox::DialogFrame>::operator()(const tallyfox::DialogFrame& frame) const noexcept {
  return tallyfox::combinedHash(frame.x, frame.y, frame.width, frame.height);
}
