#include "platform/linux/X11Desktop.hpp"

#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <utility>

#include "platform/linux/X11WindowMemory.hpp"
#include "platform/linux/X11WindowReader.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::int64_t floatingLayer = 25;
/// _NET_ACTIVE_WINDOW: the wish comes from a tool that acts for the owner, not from the application itself.
constexpr std::uint32_t sourcePager = 2;
constexpr std::uint32_t iconicState = 3;

}  // namespace

struct X11Desktop::Connection {
  explicit Connection(const std::optional<std::string>& display)
      : server(display), reader(server), memory(server, reader) {}

  /// Present while the window manager lists the window and it exists. A number that now names some other window is not
  /// in the list.
  [[nodiscard]] std::optional<XWindow> managedWindow(XWindowID id, const X11Screen& screen) {
    if (std::find(screen.managed.begin(), screen.managed.end(), id) == screen.managed.end()) return std::nullopt;
    auto windows = memory.read({id}, screen);
    if (windows.empty()) return std::nullopt;
    return std::move(windows.front());
  }

  [[nodiscard]] bool hasWindowManager() const {
    const auto reply = owned(xcb_get_property_reply(
        server.get(),
        xcb_get_property(server.get(), 0, server.root(), server.atom(X11Atom::netSupported), XCB_ATOM_ATOM, 0, 1),
        nullptr));
    return reply && reply->type != XCB_NONE;
  }

  /// Sends a wish to the window manager and waits until the server has passed it on.
  [[nodiscard]] bool tellWindowManager(XWindowID window, X11Atom message, std::array<std::uint32_t, 5> data) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = server.atom(message);
    std::copy(data.begin(), data.end(), event.data.data32);
    const auto sent = xcb_send_event_checked(server.get(), 0, server.root(),
                                             XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                                             reinterpret_cast<const char*>(&event));
    return owned(xcb_request_check(server.get(), sent)) == nullptr && server.isAlive();
  }

  std::mutex mutex;
  X11Connection server;
  X11WindowReader reader;
  X11WindowMemory memory;
};

X11Desktop::X11Desktop(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}
X11Desktop::~X11Desktop() = default;

std::expected<std::shared_ptr<X11Desktop>, std::string> X11Desktop::open(const std::optional<std::string>& display) {
  if (!display || display->empty()) return std::unexpected("There is no X display: DISPLAY is not set.");
  auto connection = std::make_unique<Connection>(display);
  if (!connection->server.isAlive()) return std::unexpected("The X display " + *display + " does not answer.");
  return std::shared_ptr<X11Desktop>(new X11Desktop(std::move(connection)));
}

std::shared_ptr<X11Desktop> X11Desktop::withoutDisplay() {
  return std::shared_ptr<X11Desktop>(new X11Desktop(std::make_unique<Connection>(std::nullopt)));
}

std::vector<XWindow> X11Desktop::windowsFrontToBack() {
  const std::scoped_lock lock(connection_->mutex);
  const X11Screen screen = connection_->reader.screen();
  auto windows = connection_->memory.read(screen.managed, screen);
  std::ranges::reverse(windows);
  return windows;
}

std::optional<XWindow> X11Desktop::activeWindow() {
  const std::scoped_lock lock(connection_->mutex);
  const X11Screen screen = connection_->reader.screen();
  return screen.active ? connection_->managedWindow(*screen.active, screen) : std::nullopt;
}

std::optional<XWindow> X11Desktop::topWindowAt(AXPoint point) {
  if (!std::isfinite(point.x) || !std::isfinite(point.y)) return std::nullopt;
  const std::scoped_lock lock(connection_->mutex);
  const auto topLevel = connection_->reader.topLevelAt(point);
  if (!topLevel) return std::nullopt;
  const X11Screen screen = connection_->reader.screen();
  if (const auto client = connection_->reader.windowWithin(*topLevel, screen.managed))
    return connection_->managedWindow(*client, screen);

  auto unmanaged = connection_->reader.read({*topLevel}, screen);
  if (unmanaged.empty()) return std::nullopt;
  XWindow window = std::move(unmanaged.front());
  window.title.clear();
  window.className.clear();
  window.instanceName.clear();
  window.applicationID.clear();
  window.layer = floatingLayer;
  return window;
}

bool X11Desktop::activate(XWindowID window) {
  const std::scoped_lock lock(connection_->mutex);
  const X11Screen screen = connection_->reader.screen();
  if (!connection_->hasWindowManager() || !connection_->managedWindow(window, screen)) return false;
  return connection_->tellWindowManager(window, X11Atom::netActiveWindow,
                                        {sourcePager, XCB_CURRENT_TIME, screen.active.value_or(XCB_NONE), 0, 0});
}

bool X11Desktop::setMinimized(XWindowID window, bool minimized) {
  const std::scoped_lock lock(connection_->mutex);
  const X11Screen screen = connection_->reader.screen();
  const auto current = connection_->managedWindow(window, screen);
  if (!current || !connection_->hasWindowManager()) return false;
  if (current->isMinimized == minimized) return true;
  if (minimized) return connection_->tellWindowManager(window, X11Atom::wmChangeState, {iconicState, 0, 0, 0, 0});
  // Managers that keep the windows of minimised clients mapped hear no map request; activating works with all.
  return connection_->tellWindowManager(window, X11Atom::netActiveWindow,
                                        {sourcePager, XCB_CURRENT_TIME, screen.active.value_or(XCB_NONE), 0, 0});
}

std::vector<std::int32_t> X11Desktop::clientProcessIdentifiers() {
  const std::scoped_lock lock(connection_->mutex);
  return connection_->reader.clientProcesses();
}

bool X11Desktop::isAlive() const {
  const std::scoped_lock lock(connection_->mutex);
  return connection_->server.isAlive();
}

}  // namespace tallyfox::linux_os
