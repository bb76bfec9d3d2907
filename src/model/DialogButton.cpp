#include "model/DialogButton.hpp"

#include "model/Hashing.hpp"

namespace tallyfox {

Json DialogButton::json() const {
  return {{"label", label}, {"role", role}, {"x", x}, {"y", y}, {"width", width}, {"height", height}};
}

std::expected<DialogButton, DecodingError> DialogButton::decoded(const Json& value) {
  JsonObjectReader reader(value);
  DialogButton button;
  button.label = reader.string("label");
  button.role = reader.string("role");
  button.x = reader.number("x");
  button.y = reader.number("y");
  button.width = reader.number("width");
  button.height = reader.number("height");
  return reader.finish(std::move(button));
}

}  // namespace tallyfox

std::size_t std::hash<tallyfox::DialogButton>::operator()(const tallyfox::DialogButton& button) const noexcept {
  return tallyfox::combinedHash(button.label, button.role, button.x, button.y, button.width, button.height);
}
