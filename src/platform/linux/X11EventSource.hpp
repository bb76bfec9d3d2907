#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/SubscriberList.hpp"
#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11DesktopState.hpp"
#include "platform/linux/X11WindowReader.hpp"

namespace tallyfox::linux_os {

/// Tells what changes on the X desktop, from property changes of the root window and of the managed windows: windows
/// opened, closed, renamed, minimised, activated, and the current desktop. No application notices. Nothing is polled,
/// and moving or resizing windows does not wake this process. Main thread only.
class X11EventSource {
 public:
  /// Without a display, or once it is gone, nothing is ever told. `watcher` and `mainQueue` outlive the source.
  X11EventSource(const std::optional<std::string>& display, FileDescriptorWatcher& watcher, SerialQueue& mainQueue);
  ~X11EventSource();
  X11EventSource(const X11EventSource&) = delete;
  X11EventSource& operator=(const X11EventSource&) = delete;

  /// Each change as of now, in order, as a task of the main queue.
  [[nodiscard]] std::unique_ptr<Subscription> subscribe(std::function<void(const X11Change&)> onChange);
  /// The desktop as last read: what later changes are changes to.
  [[nodiscard]] const X11DesktopState& state() const { return state_; }

 private:
  void onReadable();
  [[nodiscard]] bool takeEvents();
  [[nodiscard]] bool tellsOfChange(const xcb_generic_event_t& event) const;
  [[nodiscard]] X11DesktopState readState();
  void selectEvents(const std::vector<XWindowID>& windows);
  void deliver(std::vector<X11Change> changes);

  SerialQueue& mainQueue_;
  X11Connection connection_;
  X11WindowReader reader_;
  X11DesktopState state_;
  SubscriberList<X11Change> subscribers_;
  std::unique_ptr<Subscription> watch_;
  Lifetime lifetime_;
};

}  // namespace tallyfox::linux_os
