#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::linux_os {

/// Tells when the session's accessibility is switched on or off: the properties of org.a11y.Status on the session bus.
/// Without a session bus nothing is ever told; the agent's own periodic check then finds out. Main thread only.
class TrustChangeWatcher {
 public:
  /// Of the user's session bus when `sessionBusAddress` is empty. `watcher` outlives this.
  TrustChangeWatcher(const std::string& sessionBusAddress, FileDescriptorWatcher& watcher);
  ~TrustChangeWatcher();
  TrustChangeWatcher(const TrustChangeWatcher&) = delete;
  TrustChangeWatcher& operator=(const TrustChangeWatcher&) = delete;

  /// `onChange` runs as a task of the main queue. The subscription may outlive this object.
  [[nodiscard]] std::unique_ptr<Subscription> subscribe(std::function<void()> onChange);

 private:
  struct Subscribers;
  void onReadable();

  std::shared_ptr<Subscribers> subscribers_;
  SdBusHandle bus_;
  SdBusSlotHandle match_;
  std::unique_ptr<Subscription> watch_;
};

}  // namespace tallyfox::linux_os
