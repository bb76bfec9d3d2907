#include "platform/linux/DisplayExamination.hpp"

#include <fmt/format.h>
#include <xcb/xtest.h>

#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11Property.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

/// Properties are read this far: window managers support a hundred hints, and have short names.
constexpr std::uint32_t propertyItems = 1024;
/// What the desktop is read and told by.
constexpr std::array<std::pair<X11Atom, const char*>, 3> neededHints = {
    {{X11Atom::netClientList, "_NET_CLIENT_LIST"},
     {X11Atom::netClientListStacking, "_NET_CLIENT_LIST_STACKING"},
     {X11Atom::netActiveWindow, "_NET_ACTIVE_WINDOW"}}};

/// Asks one thing after the other: nobody waits for a frame here.
class DisplayReader {
 public:
  explicit DisplayReader(const X11Connection& connection) : connection_(connection) {}

  /// A name that nobody uses on this display is not introduced to it.
  [[nodiscard]] xcb_atom_t atom(std::string_view name) const {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_.get(), xcb_intern_atom(connection_.get(), 1, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
  }

  [[nodiscard]] X11Property property(xcb_window_t window, xcb_atom_t name) const {
    if (name == XCB_NONE) return {};
    const auto question =
        xcb_get_property(connection_.get(), 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, propertyItems);
    const auto reply = owned(xcb_get_property_reply(connection_.get(), question, nullptr));
    if (!reply) return {};
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return {reply->format, std::string(bytes, length), reply->type == connection_.atom(X11Atom::utf8String)};
  }

  /// The window by which a window manager shows that it is alive: it names itself, on the root and there.
  [[nodiscard]] std::optional<xcb_window_t> managersWindow() const {
    const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
    const auto window = property(connection_.root(), check).value();
    if (!window || property(*window, check).value() != window) return std::nullopt;
    return window;
  }

  [[nodiscard]] bool hasTray() const {
    const xcb_atom_t selection = atom(fmt::format("_NET_SYSTEM_TRAY_S{}", connection_.screen()));
    if (selection == XCB_NONE) return false;
    const auto owner = owned(xcb_get_selection_owner_reply(
        connection_.get(), xcb_get_selection_owner(connection_.get(), selection), nullptr));
    return owner && owner->owner != XCB_NONE;
  }

  [[nodiscard]] bool takesSyntheticInput() const {
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_test_id);
    return extension != nullptr && extension->present != 0;
  }

 private:
  const X11Connection& connection_;
};

}  // namespace

DoctorAnswer<DoctorFacts::Display> examinedDisplay(const std::optional<std::string>& display) {
  if (!display || display->empty()) return std::unexpected("The variable DISPLAY is not set.");
  const X11Connection connection(display);
  if (!connection.isAlive()) return std::unexpected(fmt::format("The display {} cannot be opened.", *display));
  const DisplayReader reader(connection);
  DoctorFacts::Display found;
  found.hasTray = reader.hasTray();
  found.takesSyntheticInput = reader.takesSyntheticInput();
  if (const auto window = reader.managersWindow()) {
    found.isManaged = true;
    found.windowManager = reader.property(*window, connection.atom(X11Atom::netWmName)).text();
    const auto supported = reader.property(connection.root(), connection.atom(X11Atom::netSupported));
    for (const auto& [hint, name] : neededHints)
      if (!supported.contains(connection.atom(hint))) found.missingHints.emplace_back(name);
  }
  return found;
}

}  // namespace tallyfox::linux_os
