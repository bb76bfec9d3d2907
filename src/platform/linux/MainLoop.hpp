#pragma once

#include <functional>
#include <memory>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"

namespace tallyfox::linux_os {

/// The main queue of a program: bound to the thread that constructs it, which also runs it. An exception that leaves a
/// task ends the process.
class MainLoop : public SerialQueue, public FileDescriptorWatcher {
 public:
  /// Runs tasks until quit(). Once.
  virtual void run() = 0;
  /// Lets run() return after the present task. Any thread.
  virtual void quit() = 0;
  /// Calls `onTerminate` as a task for each SIGINT and SIGTERM, instead of the signal's own effect.
  [[nodiscard]] virtual std::unique_ptr<Subscription> watchTerminationSignals(std::function<void()> onTerminate) = 0;
};

}  // namespace tallyfox::linux_os
