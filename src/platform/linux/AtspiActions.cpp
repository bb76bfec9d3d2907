#include "platform/linux/AtspiActions.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/AtspiAttributes.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::unexpected unsupported(AXError::unsupported);
constexpr const char* actionInterface = "org.a11y.atspi.Action";

/// What toolkits call a press: GTK "click", Qt "Press", browsers "press" and "doDefault", GTK lists "activate".
constexpr auto pressNames = std::to_array<std::string_view>({"click", "press", "Press", "activate", "doDefault"});
/// GTK 4 labels carry eight actions of their clipboard; nothing carries more.
constexpr std::int32_t actionsRead = 16;

}  // namespace

std::expected<std::int32_t, AXError> AtspiActions::pressIndex(const AtspiReference& reference) {
  AtspiBus* bus = reading_.session().bus();
  if (bus == nullptr) return std::unexpected(AXError::notTrusted);
  std::expected<std::int32_t, AXError> count = 0;
  bus->send(
      {reference, "org.freedesktop.DBus.Properties", "Get", {std::string(actionInterface), std::string("NActions")}},
      [&count](AtspiBus::Answer answer) { count = reply::variantNumber(answer); });
  bus->run();
  if (!count) return std::unexpected(count.error());
  std::vector<std::string> names(static_cast<std::size_t>(std::clamp(*count, 0, actionsRead)));
  for (std::size_t index = 0; index < names.size(); ++index) {
    bus->send({reference, actionInterface, "GetName", {static_cast<std::int32_t>(index)}},
              [&name = names[index]](AtspiBus::Answer answer) { name = reply::text(answer).value_or(""); });
  }
  bus->run();
  for (const std::string_view press : pressNames) {
    const auto place = std::ranges::find(names, press);
    if (place != names.end()) return static_cast<std::int32_t>(place - names.begin());
  }
  return unsupported;
}

std::expected<bool, AXError> AtspiActions::answerOf(AtspiCall call) {
  AtspiBus* bus = reading_.session().bus();
  if (bus == nullptr) return std::unexpected(AXError::notTrusted);
  std::expected<bool, AXError> result = false;
  bus->send(std::move(call), [&result](AtspiBus::Answer answer) { result = reply::boolean(answer); });
  bus->run();
  return result;
}

std::expected<std::vector<std::string>, AXError> AtspiActions::names(const AtspiElement& element) {
  if (element.kind() != AtspiElement::Kind::object) return unsupported;
  std::vector<std::string> names;
  const auto press = pressIndex(element.reference());
  if (press) names.emplace_back(ax_action::press);
  if (!press && press.error() != AXError::unsupported) return std::unexpected(press.error());
  const auto role = AtspiAttributes(reading_).copy(element, AXAttribute::role);
  if (!role) return std::unexpected(role.error());
  if (*role == AXValue(std::string(ax_role::window))) names.emplace_back(ax_action::raise);
  return names;
}

AtspiActions::Outcome AtspiActions::perform(const AtspiElement& element, std::string_view action) {
  if (element.kind() != AtspiElement::Kind::object) return unsupported;
  if (action == ax_action::press) return press(element.reference());
  if (action == ax_action::raise) return activate(element.reference());
  return unsupported;
}

bool AtspiActions::isBlocked(const AtspiReference& reference) {
  const auto around = reading_.windowAround(reference);
  if (!around || !around->isScreenWindowCertain) return false;
  return std::ranges::any_of(reading_.screen().windows, [&around](const XWindow& window) {
    return window.isModal && window.isMapped && window.transientFor == around->screenWindow->id;
  });
}

AtspiActions::Outcome AtspiActions::press(const AtspiReference& reference) {
  if (isBlocked(reference)) return std::unexpected(AXError::cannotComplete);
  const auto index = pressIndex(reference);
  if (!index) return std::unexpected(index.error());
  const auto isTaken = answerOf({reference, actionInterface, "DoAction", {*index}});
  if (!isTaken) return std::unexpected(isTaken.error());
  return *isTaken ? Outcome() : std::unexpected(AXError::cannotComplete);
}

AtspiActions::Outcome AtspiActions::activate(const AtspiReference& windowOrPart) {
  const auto window = reading_.windowAround(windowOrPart);
  X11Desktop* desktop = reading_.session().desktop();
  if (!window || !window->screenWindow || desktop == nullptr) return unsupported;
  return desktop->activate(window->screenWindow->id) ? Outcome() : std::unexpected(AXError::cannotComplete);
}

AtspiActions::Outcome AtspiActions::activateApplication(std::int32_t processIdentifier) {
  const AtspiScreen& screen = reading_.screen();
  const auto own = std::ranges::find_if(
      screen.windows, [=](const XWindow& window) { return window.processIdentifier == processIdentifier; });
  X11Desktop* desktop = reading_.session().desktop();
  if (own == screen.windows.end() || desktop == nullptr) return std::unexpected(AXError::invalidElement);
  const auto active =
      std::ranges::find_if(screen.windows, [&](const XWindow& window) { return window.id == screen.active; });
  if (active != screen.windows.end() && active->processIdentifier == processIdentifier) return {};
  return desktop->activate(own->id) ? Outcome() : std::unexpected(AXError::cannotComplete);
}

AtspiActions::Outcome AtspiActions::grabFocus(const AtspiReference& reference) {
  const auto isTaken = answerOf({reference, "org.a11y.atspi.Component", "GrabFocus", {}});
  if (!isTaken) return std::unexpected(isTaken.error());
  return *isTaken ? Outcome() : std::unexpected(AXError::cannotComplete);
}

AtspiActions::Outcome AtspiActions::set(const AtspiElement& element, AXAttribute attribute, const AXValue& value) {
  if (element.kind() == AtspiElement::Kind::application)
    return setOfApplication(element.processIdentifier(), attribute, value);
  const bool* flag = std::get_if<bool>(&value);
  if (element.kind() != AtspiElement::Kind::object || flag == nullptr) return unsupported;
  return setOfObject(element.reference(), attribute, *flag);
}

AtspiActions::Outcome AtspiActions::setOfApplication(std::int32_t processIdentifier, AXAttribute attribute,
                                                     const AXValue& value) {
  if (attribute == AXAttribute::frontmost && value == AXValue(true)) return activateApplication(processIdentifier);
  const auto* element = std::get_if<AXUIElement>(&value);
  const AtspiElement* object = element == nullptr ? nullptr : AtspiElement::of(*element);
  if (object == nullptr || object->kind() != AtspiElement::Kind::object) return unsupported;
  if (attribute == AXAttribute::focusedWindow || attribute == AXAttribute::mainWindow)
    return activate(object->reference());
  if (attribute == AXAttribute::focusedUIElement) return grabFocus(object->reference());
  return unsupported;
}

AtspiActions::Outcome AtspiActions::setOfObject(const AtspiReference& reference, AXAttribute attribute, bool value) {
  const auto window = reading_.windowAt(reference);
  X11Desktop* desktop = reading_.session().desktop();
  if (attribute == AXAttribute::minimized) {
    if (!window || !window->screenWindow || desktop == nullptr) return unsupported;
    if (window->screenWindow->isMinimized == value) return {};
    return desktop->setMinimized(window->screenWindow->id, value) ? Outcome()
                                                                  : std::unexpected(AXError::cannotComplete);
  }
  // Focus and the front are taken, never given away.
  if (!value) return unsupported;
  if (attribute == AXAttribute::main) return window ? activate(reference) : unsupported;
  if (attribute == AXAttribute::focused) return window ? activate(reference) : grabFocus(reference);
  return unsupported;
}

}  // namespace tallyfox::linux_os
