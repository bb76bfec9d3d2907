#include "platform/linux/AtspiAttributes.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "base/Limits.hpp"

namespace tallyfox::linux_os {
namespace {

using Value = AtspiAttributes::Value;

constexpr std::unexpected noValue(AXError::noValue);
constexpr std::unexpected unsupported(AXError::unsupported);

Value textValue(std::string text) {
  if (text.empty()) return noValue;
  return text;
}

}  // namespace

Value AtspiAttributes::copy(const AtspiElement& element, AXAttribute attribute) {
  switch (element.kind()) {
    case AtspiElement::Kind::systemWide:
      return copyOfSystem(attribute);
    case AtspiElement::Kind::application:
      return copyOfApplication(element.processIdentifier(), attribute);
    case AtspiElement::Kind::object:
      return copyOfObject(element.reference(), attribute);
    case AtspiElement::Kind::description:
      return copyOfDescription(element.reference(), attribute);
  }
  return unsupported;
}

Value AtspiAttributes::copyOfSystem(AXAttribute attribute) {
  switch (attribute) {
    case AXAttribute::role:
      return std::string("AXSystemWide");
    case AXAttribute::focusedWindow:
      return windowValue(activeWindow(std::nullopt));
    case AXAttribute::focusedUIElement:
      return focusedElementValue(activeWindow(std::nullopt));
    default:
      return unsupported;
  }
}

Value AtspiAttributes::copyOfApplication(std::int32_t processIdentifier, AXAttribute attribute) {
  switch (attribute) {
    case AXAttribute::role:
      return std::string("AXApplication");
    case AXAttribute::windows:
    case AXAttribute::children:
      return windowsValue(processIdentifier);
    case AXAttribute::mainWindow:
    case AXAttribute::focusedWindow:
      return windowValue(activeWindow(processIdentifier));
    case AXAttribute::focusedUIElement:
      return focusedElementValue(activeWindow(processIdentifier));
    case AXAttribute::frontmost: {
      const AtspiScreen& screen = reading_.screen();
      const auto active = std::ranges::find(screen.windows, screen.active,
                                            [](const XWindow& window) { return std::optional<XWindowID>(window.id); });
      return active != screen.windows.end() && active->processIdentifier == processIdentifier;
    }
    case AXAttribute::title: {
      const std::vector<AtspiReference> roots = reading_.session().rootsOf(processIdentifier);
      if (roots.empty()) return std::unexpected(AXError::invalidElement);
      const auto name = *reading_.read(roots.front(), fact::name).name;
      return name ? textValue(*name) : std::unexpected(name.error());
    }
    default:
      return unsupported;
  }
}

Value AtspiAttributes::copyOfObject(const AtspiReference& reference, AXAttribute attribute) {
  switch (attribute) {
    case AXAttribute::role:
      return role(reference);
    case AXAttribute::subrole:
      return subrole(reference);
    case AXAttribute::title:
      return title(reference);
    case AXAttribute::description:
      return description(reference);
    case AXAttribute::value:
      return value(reference);
    case AXAttribute::modal:
      return modal(reference);
    case AXAttribute::enabled:
      return enabled(reference);
    case AXAttribute::children:
      return children(reference);
    case AXAttribute::parent:
      return parent(reference);
    case AXAttribute::position:
    case AXAttribute::size:
      return frame(reference, attribute);
    case AXAttribute::defaultButton:
      return defaultButton(reference);
    case AXAttribute::minimized:
      return minimized(reference);
    case AXAttribute::main:
      return main(reference);
    case AXAttribute::focused:
      return focused(reference);
    // No toolkit here says which button cancels, and the rest belongs to applications.
    default:
      return unsupported;
  }
}

Value AtspiAttributes::copyOfDescription(const AtspiReference& dialog, AXAttribute attribute) {
  switch (attribute) {
    case AXAttribute::role:
      return std::string(ax_role::staticText);
    case AXAttribute::value:
      return textValue(unshownMessage(dialog));
    case AXAttribute::parent:
      return elementOf(dialog);
    case AXAttribute::position:
    case AXAttribute::size:
      return frame(dialog, attribute);
    default:
      return unsupported;
  }
}

AXUIElement AtspiAttributes::elementOf(const AtspiReference& reference) {
  return AtspiElement::object(reference, reading_.session().processOf(reference.busName));
}

std::vector<AXUIElement> AtspiAttributes::elementsOf(const std::vector<AtspiReference>& references) {
  std::vector<AXUIElement> elements;
  elements.reserve(references.size());
  for (const AtspiReference& reference : references)
    elements.push_back(elementOf(reference));
  return elements;
}

Value AtspiAttributes::windowsValue(std::int32_t processIdentifier) {
  const auto windows = reading_.windowsOf(processIdentifier);
  if (!windows) return std::unexpected(windows.error());
  std::vector<AXUIElement> elements;
  for (const AtspiWindow& window : *windows)
    elements.push_back(elementOf(window.reference));
  return elements;
}

Value AtspiAttributes::windowValue(const std::optional<AtspiWindow>& window) {
  if (!window) return noValue;
  return elementOf(window->reference);
}

Value AtspiAttributes::focusedElementValue(const std::optional<AtspiWindow>& window) {
  const auto focused = window ? focusedIn(window->reference) : std::nullopt;
  if (!focused) return noValue;
  return elementOf(*focused);
}

std::optional<AtspiWindow> AtspiAttributes::activeWindow(std::optional<std::int32_t> processIdentifier) {
  const std::optional<XWindowID> active = reading_.screen().active;
  if (!active) return std::nullopt;
  const std::vector<XWindow>& onScreen = reading_.screen().windows;
  const auto window = std::ranges::find(onScreen, *active, &XWindow::id);
  if (window == onScreen.end() || !window->processIdentifier) return std::nullopt;
  if (processIdentifier && window->processIdentifier != processIdentifier) return std::nullopt;
  const auto windows = reading_.windowsOf(*window->processIdentifier);
  if (!windows) return std::nullopt;
  // In doubt it is none of them: keys would go to whichever really has the focus.
  for (const AtspiWindow& candidate : *windows) {
    if (candidate.isScreenWindowCertain && candidate.screenWindow->id == *active) return candidate;
  }
  return std::nullopt;
}

std::optional<AtspiReference> AtspiAttributes::focusedIn(const AtspiReference& window) {
  if (canSearch(reading_.toolkitOf(window))) {
    const auto claims = *reading_.read(window, fact::focusClaims).focusClaims;
    if (claims && !claims->empty()) return claims->back();
    if (claims) return std::nullopt;
  }
  std::optional<AtspiReference> focused;
  // Containers of the focus may claim it too; the walk reaches them first.
  for (const AtspiReference& element : reading_.walk(window, limits::refindDescendants, fact::states)) {
    const auto states = *reading_.read(element, fact::states).states;
    if (states && has(*states, AtspiState::focused)) focused = element;
  }
  return focused;
}

std::expected<AtspiNature, AXError> AtspiAttributes::natureOf(const AtspiReference& reference) {
  const auto role = *reading_.read(reference, fact::role).role;
  if (!role) return std::unexpected(role.error());
  return roleInfo(*role).nature;
}

std::expected<AtspiAttributes::Appearance, AXError> AtspiAttributes::appearanceOf(const AtspiReference& reference) {
  const auto nature = natureOf(reference);
  if (!nature) return std::unexpected(nature.error());
  if (!canBeWindow(*nature)) return Appearance::other;
  if (reading_.isTopLevel(reference)) return Appearance::window;
  if (*nature != AtspiNature::dialog) return Appearance::other;
  // Browsers show a page's question inside their frame, and keep hidden alerts there all the time.
  const auto states = *reading_.read(reference, fact::states | fact::toolkit).states;
  return states && reading_.isShown(reference, *states) ? Appearance::sheet : Appearance::other;
}

std::string AtspiAttributes::unshownMessage(const AtspiReference& reference) {
  const auto appearance = appearanceOf(reference);
  if (!appearance || *appearance == Appearance::other || natureOf(reference) != AtspiNature::dialog) return {};
  for (const AtspiReference& element : reading_.walk(reference, limits::refindDescendants, fact::role)) {
    if (reading_.isKnownAsText(element) && value(element)) return {};
  }
  const auto text = *reading_.read(reference, fact::description).description;
  const std::string message = text ? undressedDescription(*text) : std::string();
  // What is said by the title is said.
  return Value(message) == title(reference) ? std::string() : message;
}

Value AtspiAttributes::role(const AtspiReference& reference) {
  const auto appearance = appearanceOf(reference);
  if (!appearance) return std::unexpected(appearance.error());
  if (*appearance == Appearance::window) return std::string(ax_role::window);
  if (*appearance == Appearance::sheet) return std::string(ax_role::sheet);
  const AtspiRoleInfo info = roleInfo(**reading_.known(reference).role);
  if (info.nature == AtspiNature::textContainer) {
    const auto count = *reading_.read(reference, fact::childCount).childCount;
    if (count && *count == 0) return std::string(ax_role::staticText);
  }
  if (info.nature == AtspiNature::field) {
    const auto states = *reading_.read(reference, fact::states).states;
    if (states && has(*states, AtspiState::multiLine)) return std::string("AXTextArea");
  }
  return std::string(info.axRole);
}

Value AtspiAttributes::subrole(const AtspiReference& reference) {
  const auto appearance = appearanceOf(reference);
  if (!appearance) return std::unexpected(appearance.error());
  const AtspiNature nature = *natureOf(reference);
  if (nature == AtspiNature::password) return std::string("AXSecureTextField");
  if (*appearance != Appearance::window) return noValue;
  if (nature != AtspiNature::window) return std::string(ax_subrole::dialog);
  // A plain frame that its program gives to the window manager as a dialog is one.
  const auto window = reading_.windowAt(reference);
  const bool isDialog = window && window->screenWindow && window->screenWindow->isDialogType;
  return std::string(isDialog ? ax_subrole::dialog : "AXStandardWindow");
}

Value AtspiAttributes::title(const AtspiReference& reference) {
  const AtspiFacts& facts = reading_.read(reference, fact::name | fact::role | fact::toolkit);
  const auto name = *facts.name;
  if (!name) return std::unexpected(name.error());
  const AtspiNature nature = facts.role->has_value() ? roleInfo(**facts.role).nature : AtspiNature::plain;
  const Toolkit toolkit = reading_.toolkitOf(reference);
  const bool isWords = nature == AtspiNature::text || nature == AtspiNature::textContainer || canBeWindow(nature);
  const std::string title = isWords ? undressedText(*name, toolkit) : undressedLabel(*name, toolkit);
  if (!title.empty() || !canBeWindow(nature) || !reading_.isTopLevel(reference)) return textValue(title);
  const auto window = reading_.windowAt(reference);
  return textValue(window && window->screenWindow ? window->screenWindow->title : "");
}

Value AtspiAttributes::description(const AtspiReference& reference) {
  const auto text = *reading_.read(reference, fact::description).description;
  if (!text) return std::unexpected(text.error());
  return textValue(undressedDescription(*text));
}

Value AtspiAttributes::value(const AtspiReference& reference) {
  const auto nature = natureOf(reference);
  if (!nature) return std::unexpected(nature.error());
  switch (*nature) {
    case AtspiNature::text:
    case AtspiNature::textContainer: {
      const Toolkit toolkit = reading_.toolkitOf(reference);
      const std::string text = undressedText(reading_.read(reference, fact::text).text->value_or(""), toolkit);
      if (!text.empty()) return text;
      // Not every label has a text to select; its name is its text then.
      return textValue(undressedText(reading_.read(reference, fact::name).name->value_or(""), toolkit));
    }
    case AtspiNature::field: {
      const auto text = *reading_.read(reference, fact::text).text;
      return text ? Value(*text) : Value(std::unexpected(text.error()));
    }
    case AtspiNature::check: {
      const auto states = *reading_.read(reference, fact::states).states;
      return states ? Value(has(*states, AtspiState::checked)) : Value(std::unexpected(states.error()));
    }
    default:
      return unsupported;
  }
}

Value AtspiAttributes::modal(const AtspiReference& reference) {
  const auto states = *reading_.read(reference, fact::states | fact::role).states;
  if (!states) return std::unexpected(states.error());
  if (has(*states, AtspiState::modal)) return true;
  if (!canBeWindow(natureOf(reference).value_or(AtspiNature::plain)) || !reading_.isTopLevel(reference)) return false;
  const auto window = reading_.windowAt(reference);
  return window && window->screenWindow && window->screenWindow->isModal;
}

Value AtspiAttributes::enabled(const AtspiReference& reference) {
  const auto states = *reading_.read(reference, fact::states | fact::toolkit).states;
  if (!states) return std::unexpected(states.error());
  if (!has(*states, AtspiState::sensitive)) return false;
  // GTK 4 knows one of the two states only.
  return has(*states, AtspiState::enabled) || reading_.toolkitOf(reference) == Toolkit::gtk4;
}

Value AtspiAttributes::children(const AtspiReference& reference) {
  const auto children = reading_.shownChildren(reference);
  if (!children) return std::unexpected(children.error());
  std::vector<AXUIElement> elements = elementsOf(*children);
  if (!unshownMessage(reference).empty())
    elements.push_back(AtspiElement::description(reference, reading_.session().processOf(reference.busName)));
  return elements;
}

Value AtspiAttributes::parent(const AtspiReference& reference) {
  const auto parent = *reading_.read(reference, fact::parent).parent;
  if (!parent) return std::unexpected(parent.error());
  if (parent->isNull()) return noValue;
  if (parent->isApplicationRoot()) return AtspiElement::application(reading_.session().processOf(parent->busName));
  return elementOf(*parent);
}

Value AtspiAttributes::frame(const AtspiReference& reference, AXAttribute attribute) {
  const auto answer = [attribute](double x, double y, double width, double height) -> Value {
    if (attribute == AXAttribute::position) return AXPoint{.x = x, .y = y};
    return AXSize{.width = width, .height = height};
  };
  if (canBeWindow(natureOf(reference).value_or(AtspiNature::plain)) && reading_.isTopLevel(reference)) {
    const auto window = reading_.windowAt(reference);
    if (window && window->screenWindow) {
      const DialogFrame& client = window->screenWindow->clientFrame;
      return answer(client.x, client.y, client.width, client.height);
    }
  }
  const auto isShown = reading_.isShown(reference);
  if (!isShown) return std::unexpected(isShown.error());
  const auto extents = *reading_.read(reference, fact::extents).extents;
  if (!extents) return std::unexpected(extents.error());
  // What is hidden keeps its last place in some toolkits.
  if (!extents->isOnAScreen() || !*isShown) return noValue;
  double x = extents->x;
  double y = extents->y;
  if (attribute == AXAttribute::position && reading_.toolkitOf(reference) == Toolkit::gtk4) {
    const auto window = reading_.windowAround(reference);
    if (!window || !window->screenWindow) return noValue;
    x += window->screenWindow->clientFrame.x;
    y += window->screenWindow->clientFrame.y;
  }
  return answer(x, y, extents->width, extents->height);
}

Value AtspiAttributes::defaultButton(const AtspiReference& reference) {
  // GTK 4 does not tell its default button, but Return presses the one that has the focus, as in other toolkits.
  const AtspiState sign = reading_.toolkitOf(reference) == Toolkit::gtk4 ? AtspiState::focused : AtspiState::isDefault;
  for (const AtspiReference& element : reading_.walk(reference, limits::refindDescendants, fact::role | fact::states)) {
    const AtspiFacts& facts = reading_.read(element, fact::role | fact::states);
    if (!*facts.role || !*facts.states || !has(**facts.states, sign)) continue;
    if (roleInfo(**facts.role).nature == AtspiNature::button) return elementOf(element);
  }
  return noValue;
}

Value AtspiAttributes::minimized(const AtspiReference& reference) {
  const auto window = reading_.windowAt(reference);
  if (!window) return unsupported;
  if (window->screenWindow) return window->screenWindow->isMinimized;
  return has(window->states, AtspiState::iconified);
}

Value AtspiAttributes::main(const AtspiReference& reference) {
  const auto window = reading_.windowAt(reference);
  if (!window) return unsupported;
  if (!window->screenWindow) return has(window->states, AtspiState::active);
  return reading_.screen().active == window->screenWindow->id;
}

Value AtspiAttributes::focused(const AtspiReference& reference) {
  const auto appearance = appearanceOf(reference);
  if (!appearance) return std::unexpected(appearance.error());
  if (*appearance == Appearance::window) return main(reference);
  const auto states = *reading_.read(reference, fact::states).states;
  return states ? Value(has(*states, AtspiState::focused)) : Value(std::unexpected(states.error()));
}

}  // namespace tallyfox::linux_os
