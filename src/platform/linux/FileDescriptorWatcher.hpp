#pragma once

#include <functional>
#include <memory>

#include "platform/AccessibilityObservers.hpp"

namespace tallyfox::linux_os {

/// Tells when foreign file descriptors (an X or D-Bus connection) have something to read. Main thread only.
class FileDescriptorWatcher {
 public:
  virtual ~FileDescriptorWatcher() = default;
  /// Calls `onReadable` as a task of the main queue while `fd` is readable (a closed peer counts as readable), again
  /// and again until it has been read empty. The descriptor stays the caller's and must live as long as the
  /// subscription, which `onReadable` itself may destroy.
  [[nodiscard]] virtual std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) = 0;
};

}  // namespace tallyfox::linux_os
