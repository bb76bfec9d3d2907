#include "detection/AXHelpers.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <variant>

#include "base/Text.hpp"
#include "detection/ScreenBounds.hpp"

namespace tallyfox {

namespace {

template <typename Value>
std::optional<Value> valueOf(AccessibilityElements& elements, const AXUIElement& element, AXAttribute attribute) {
  auto copied = elements.copyAttribute(element, attribute);
  if (!copied) return std::nullopt;
  Value* value = std::get_if<Value>(&*copied);
  if (value == nullptr) return std::nullopt;
  return std::move(*value);
}

}  // namespace

std::optional<std::string> AXHelpers::stringAttribute(const AXUIElement& element, AXAttribute attribute) const {
  auto text = valueOf<std::string>(elements_, element, attribute);
  if (text && !isValidUtf8(*text)) text = repairedUtf8(*text);
  return text;
}

std::optional<bool> AXHelpers::boolAttribute(const AXUIElement& element, AXAttribute attribute) const {
  return valueOf<bool>(elements_, element, attribute);
}

std::optional<AXUIElement> AXHelpers::elementAttribute(const AXUIElement& element, AXAttribute attribute) const {
  return valueOf<AXUIElement>(elements_, element, attribute);
}

std::vector<AXUIElement> AXHelpers::elementsAttribute(const AXUIElement& element, AXAttribute attribute) const {
  return valueOf<std::vector<AXUIElement>>(elements_, element, attribute).value_or(std::vector<AXUIElement>{});
}

std::vector<std::string> AXHelpers::actionNames(const AXUIElement& element) const {
  return elements_.copyActionNames(element).value_or(std::vector<std::string>{});
}

std::vector<AXUIElement> AXHelpers::children(const AXUIElement& element) const {
  return elementsAttribute(element, AXAttribute::children);
}

std::vector<AXUIElement> AXHelpers::windows(const AXUIElement& application) const {
  return elementsAttribute(application, AXAttribute::windows);
}

std::optional<AXUIElement> AXHelpers::systemWideAttribute(AXAttribute attribute) const {
  const AXUIElement systemWide = accessibility_.systemWideElement();
  elements_.setMessagingTimeout(systemWide, messagingTimeout);
  return elementAttribute(systemWide, attribute);
}

std::optional<AXUIElement> AXHelpers::focusedWindow() const {
  return systemWideAttribute(AXAttribute::focusedWindow);
}

std::optional<AXUIElement> AXHelpers::focusedElement() const {
  return systemWideAttribute(AXAttribute::focusedUIElement);
}

std::optional<AXUIElement> AXHelpers::nearest(const AXUIElement& element, int limit,
                                              const std::function<bool(const AXUIElement&)>& matches) const {
  std::optional<AXUIElement> current = element;
  for (int step = 0; current && step < limit; ++step) {
    if (matches(*current)) return current;
    if (step + 1 < limit) current = elementAttribute(*current, AXAttribute::parent);
  }
  return std::nullopt;
}

std::optional<AXUIElement> AXHelpers::nearestWindow(const AXUIElement& element, int limit) const {
  return nearest(element, limit, [this](const AXUIElement& candidate) { return isWindow(candidate); });
}

std::optional<AXUIElement> AXHelpers::nearestButton(const AXUIElement& element, int limit) const {
  return nearest(element, limit, [this](const AXUIElement& candidate) { return role(candidate) == ax_role::button; });
}

std::optional<DialogFrame> AXHelpers::frame(const AXUIElement& element) const {
  const auto position = valueOf<AXPoint>(elements_, element, AXAttribute::position);
  if (!position) return std::nullopt;
  const auto size = valueOf<AXSize>(elements_, element, AXAttribute::size);
  if (!size) return std::nullopt;
  const DialogFrame frame{position->x, position->y, size->width, size->height};
  if (!isWithinScreenBounds(frame)) return std::nullopt;
  return frame;
}

std::vector<AXUIElement> AXHelpers::deeplyNestedChildren(const AXUIElement& root, int limit) const {
  std::vector<AXUIElement> result;
  if (limit <= 0) return result;
  std::vector<AXUIElement> stack = children(root);
  while (!stack.empty()) {
    result.push_back(std::move(stack.back()));
    stack.pop_back();
    if (result.size() == static_cast<std::size_t>(limit)) break;
    std::ranges::move(children(result.back()), std::back_inserter(stack));
  }
  return result;
}

std::string AXHelpers::role(const AXUIElement& element) const {
  return stringAttribute(element, AXAttribute::role).value_or(std::string{});
}

bool AXHelpers::isWindow(const AXUIElement& element) const {
  const std::string found = role(element);
  return found == ax_role::window || found == ax_role::sheet;
}

std::optional<std::string> AXHelpers::label(const AXUIElement& element) const {
  for (const AXAttribute attribute : {AXAttribute::title, AXAttribute::description}) {
    auto text = stringAttribute(element, attribute);
    if (text && !text->empty()) return text;
  }
  return std::nullopt;
}

}  // namespace tallyfox
