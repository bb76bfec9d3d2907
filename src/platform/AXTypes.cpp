#include "platform/AXTypes.hpp"

#include <array>

namespace tallyfox {

std::string_view attributeName(AXAttribute attribute) {
  static constexpr std::array<std::string_view, 21> names = {
      "AXRole",          "AXSubrole",      "AXTitle",      "AXDescription",   "AXValue",
      "AXModal",         "AXEnabled",      "AXChildren",   "AXParent",        "AXPosition",
      "AXSize",          "AXWindows",      "AXMainWindow", "AXFocusedWindow", "AXFocusedUIElement",
      "AXDefaultButton", "AXCancelButton", "AXMinimized",  "AXMain",          "AXFocused",
      "AXFrontmost"};
  return names.at(static_cast<std::size_t>(attribute));
}

}  // namespace tallyfox
