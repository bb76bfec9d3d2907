#pragma once

#include <functional>
#include <memory>

namespace tallyfox::mac_os {

/// Tells when the machine has woken from sleep. The timers of the queues count the sleep; connections do not, and one
/// that died meanwhile would take up to a minute to be noticed. Main thread only.
class WakeWatcher {
 public:
  /// `onWake` runs on the main thread.
  explicit WakeWatcher(std::function<void()> onWake);
  ~WakeWatcher();
  WakeWatcher(const WakeWatcher&) = delete;
  WakeWatcher& operator=(const WakeWatcher&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
