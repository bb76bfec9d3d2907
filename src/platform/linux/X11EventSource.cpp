#include "platform/linux/X11EventSource.hpp"

#include <utility>

#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::uint8_t sentByAnotherClient = 0x80;

}  // namespace

X11EventSource::X11EventSource(const std::optional<std::string>& display, FileDescriptorWatcher& watcher,
                               SerialQueue& mainQueue)
    : mainQueue_(mainQueue), connection_(display), reader_(connection_) {
  if (!connection_.isAlive()) return;
  selectEvents({connection_.root()});
  state_ = readState();
  watch_ = watcher.watchReadable(xcb_get_file_descriptor(connection_.get()), [this] { onReadable(); });
  // What came in while the state was read already lies in the library's queue, where no descriptor tells of it.
  mainQueue_.post(lifetime_.guard([this] { onReadable(); }));
}

X11EventSource::~X11EventSource() = default;

std::unique_ptr<Subscription> X11EventSource::subscribe(std::function<void(const X11Change&)> onChange) {
  return subscribers_.add(std::move(onChange));
}

void X11EventSource::onReadable() {
  if (!connection_.isAlive()) {
    watch_.reset();
    return;
  }
  if (!takeEvents()) return;
  X11DesktopState current = readState();
  // A server that has gone in between answered nothing, which is not a desktop without windows.
  if (!connection_.isAlive()) return;
  deliver(changesBetween(state_, current));
  state_ = std::move(current);
  mainQueue_.post(lifetime_.guard([this] { onReadable(); }));
}

bool X11EventSource::takeEvents() {
  bool hasChanged = false;
  while (const auto event = owned(xcb_poll_for_event(connection_.get())))
    hasChanged = tellsOfChange(*event) || hasChanged;
  return hasChanged;
}

bool X11EventSource::tellsOfChange(const xcb_generic_event_t& event) const {
  if ((event.response_type & ~sentByAnotherClient) != XCB_PROPERTY_NOTIFY) return false;
  const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
  if (change.window == connection_.root())
    return change.atom == connection_.atom(X11Atom::netClientList) ||
           change.atom == connection_.atom(X11Atom::netActiveWindow) ||
           change.atom == connection_.atom(X11Atom::netCurrentDesktop);
  return change.atom == connection_.atom(X11Atom::netWmName) || change.atom == XCB_ATOM_WM_NAME ||
         change.atom == connection_.atom(X11Atom::netWmState) || change.atom == connection_.atom(X11Atom::wmState);
}

X11DesktopState X11EventSource::readState() {
  const X11Screen screen = reader_.screen();
  // Before the windows are read, so that no change falls between.
  selectEvents(screen.managed);
  X11DesktopState state;
  state.active = screen.active;
  state.currentDesktop = screen.currentDesktop;
  for (XWindow& window : reader_.read(screen.managed, screen))
    state.windows[window.id] = {window.processIdentifier.value_or(0), std::move(window.title), window.isMinimized};
  return state;
}

void X11EventSource::selectEvents(const std::vector<XWindowID>& windows) {
  constexpr std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  for (const XWindowID window : windows)
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
}

void X11EventSource::deliver(std::vector<X11Change> changes) {
  if (changes.empty()) return;
  mainQueue_.post([changes = std::move(changes), subscribers = subscribers_] {
    for (const X11Change& change : changes)
      subscribers.tell(change);
  });
}

}  // namespace tallyfox::linux_os
