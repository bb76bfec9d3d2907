#include <algorithm>

#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

std::vector<std::string> DesktopModel::actionNames(ElementID id) const {
  std::vector<std::string> names = element(id).actions;
  // Every window can be brought forward, whatever else it offers.
  if (element(id).parent == 0 && std::ranges::count(names, ax_action::raise) == 0) names.emplace_back(ax_action::raise);
  return names;
}

Outcome DesktopModel::perform(ElementID id, std::string_view action) {
  if (!exists(id)) return std::unexpected(AXError::invalidElement);
  const DesktopApplication& application = applications.at(element(id).processIdentifier);
  switch (application.fault) {
    case Fault::vanishOnAction:
      remove(id);
      return std::unexpected(AXError::invalidElement);
    case Fault::refuseActions:
      return std::unexpected(AXError::unsupported);
    case Fault::ignoreActions:
      return {};
    case Fault::hang:
    case Fault::none:
    case Fault::workAndRefuse:
      break;
  }
  if (std::ranges::count(actionNames(id), action) == 0) return std::unexpected(AXError::unsupported);
  if (action == ax_action::raise) {
    raise(windowOf(id));
    return {};
  }
  const ElementID button = buttonOf(id, action);
  if (!exists(button)) return std::unexpected(AXError::unsupported);
  const bool isRefused = application.fault == Fault::workAndRefuse;
  const Outcome pressed = application.heedsActions ? press(button) : Outcome();
  return isRefused ? std::unexpected(AXError::unsupported) : pressed;
}

ElementID DesktopModel::buttonOf(ElementID id, std::string_view action) const {
  if (!exists(id)) return 0;
  if (action == ax_action::press) return id;
  if (action == ax_action::confirm) return element(id).defaultButton;
  if (action == ax_action::cancel) return element(id).cancelButton;
  return 0;
}

Outcome DesktopModel::press(ElementID button) {
  const auto enabled = readElement(button, AXAttribute::enabled);
  if (enabled == AXValue(false)) return std::unexpected(AXError::unsupported);
  presses.push_back(label(button));
  // What the press does may remove the button.
  const std::function<void()> custom = element(button).onPress;
  if (custom) {
    custom();
  } else if (element(button).effect == PressEffect::closeWindow) {
    remove(containerOf(button));
  }
  return {};
}

}  // namespace tallyfox::memory
