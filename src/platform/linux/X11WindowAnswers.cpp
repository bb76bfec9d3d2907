#include "platform/linux/X11WindowAnswers.hpp"

#include <algorithm>
#include <utility>

#include "platform/linux/X11Layer.hpp"

namespace tallyfox::linux_os {
namespace {

/// Frame margins beyond this are not margins.
constexpr std::uint32_t widestMargin = 1000;
constexpr std::uint32_t everyDesktop = 0xFFFFFFFF;
constexpr std::uint32_t iconicState = 3;
constexpr std::uint32_t fullOpacity = 0xFFFFFFFF;

struct Margins {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
};

Margins marginsOf(const X11Property& property) {
  const auto values = property.values();
  if (values.size() < 4 || std::any_of(values.begin(), values.begin() + 4, [](auto v) { return v > widestMargin; }))
    return {};
  return {double(values[0]), double(values[1]), double(values[2]), double(values[3])};
}

DialogFrame widened(const DialogFrame& frame, const Margins& by) {
  return {frame.x - by.left, frame.y - by.top, frame.width + by.left + by.right, frame.height + by.top + by.bottom};
}

DialogFrame narrowed(const DialogFrame& frame, const Margins& by) {
  if (by.left + by.right >= frame.width || by.top + by.bottom >= frame.height) return frame;
  return {frame.x + by.left, frame.y + by.top, frame.width - by.left - by.right, frame.height - by.top - by.bottom};
}

/// The first type that is known wins; without one, a window that serves another is a dialog.
X11WindowType typeOf(const X11Connection& connection, const X11Property& property, bool isTransient) {
  using enum X11WindowType;
  static constexpr std::array<std::pair<X11Atom, X11WindowType>, 14> known = {{
      {X11Atom::typeNormal, normal},
      {X11Atom::typeDialog, dialog},
      {X11Atom::typeUtility, utility},
      {X11Atom::typeToolbar, toolbar},
      {X11Atom::typeSplash, splash},
      {X11Atom::typeDesktop, X11WindowType::desktop},
      {X11Atom::typeDock, dock},
      {X11Atom::typeNotification, notification},
      {X11Atom::typeTooltip, tooltip},
      {X11Atom::typeMenu, menu},
      {X11Atom::typeDropdownMenu, menu},
      {X11Atom::typePopupMenu, menu},
      {X11Atom::typeCombo, menu},
      {X11Atom::typeDragAndDrop, dragIcon},
  }};
  for (const std::uint32_t value : property.values())
    for (const auto& [atom, type] : known)
      if (value != XCB_NONE && value == connection.atom(atom)) return type;
  return isTransient ? dialog : normal;
}

}  // namespace

XWindow described(const X11WindowAnswers& answers, const X11Connection& connection,
                  std::optional<std::uint32_t> currentDesktop) {
  const auto& properties = answers.properties;
  XWindow window;
  window.id = answers.id;
  window.processIdentifier = answers.process;
  window.title = properties[Asked::name].text();
  const auto classes = properties[Asked::wmClass].texts();
  if (!classes.empty()) window.instanceName = classes[0];
  if (classes.size() > 1) window.className = classes[1];
  window.applicationID = properties[Asked::gtkApplication].text();
  if (window.applicationID.empty()) window.applicationID = properties[Asked::kdeDesktopFile].text();
  window.clientFrame = answers.clientFrame;
  window.visibleFrame = narrowed(widened(answers.clientFrame, marginsOf(properties[Asked::frameExtents])),
                                 marginsOf(properties[Asked::gtkFrameExtents]));
  const auto leader = properties[Asked::transientFor].value();
  if (leader && *leader != XCB_NONE && *leader != connection.root() && *leader != answers.id)
    window.transientFor = leader;

  const X11Property& state = properties[Asked::states];
  const X11WindowType type = typeOf(connection, properties[Asked::types], leader && *leader != XCB_NONE);
  window.isDialogType = type == X11WindowType::dialog;
  window.isModal = state.contains(connection.atom(X11Atom::stateModal));
  const auto place = properties[Asked::desktop].value();
  window.isOnCurrentDesktop = !place || !currentDesktop || *place == everyDesktop || *place == *currentDesktop;
  // A rolled-up window may count as hidden too. Managers that keep no list of states tell by the older property, which
  // also marks windows of other desktops.
  window.isMinimized = state.exists() ? state.contains(connection.atom(X11Atom::stateHidden)) &&
                                            !state.contains(connection.atom(X11Atom::stateShaded))
                                      : answers.olderState.value() == iconicState && window.isOnCurrentDesktop;
  window.isMapped = answers.isViewable;
  window.layer = windowLayer(
      {.type = type, .isAbove = state.contains(connection.atom(X11Atom::stateAbove)), .isManaged = answers.isManaged});
  window.opacity = double(properties[Asked::opacity].value().value_or(fullOpacity)) / double(fullOpacity);
  return window;
}

}  // namespace tallyfox::linux_os
