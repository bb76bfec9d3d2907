#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Environment.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::linux_os {

/// Tells when the machine has woken from sleep, by the signal of the login manager (org.freedesktop.login1) on the
/// system bus. Where there is none, nothing is told, and connections that died unheard are noticed by their silence.
///
/// What else a sleep means here: the timers of the queues count it (CLOCK_BOOTTIME), so whatever fell due meanwhile
/// runs on waking. The time-outs of sockets do not (CLOCK_MONOTONIC): a connection has the whole minute of its silence
/// still before it, which is too long for a phone that waits, hence this class. Main thread only.
class SleepWatcher {
 public:
  /// `watcher` outlives this; `onWake` runs as a task of the main queue.
  SleepWatcher(const std::string& systemBusAddress, FileDescriptorWatcher& watcher, std::function<void()> onWake);
  ~SleepWatcher();
  SleepWatcher(const SleepWatcher&) = delete;
  SleepWatcher& operator=(const SleepWatcher&) = delete;

 private:
  static int onSignal(sd_bus_message* signal, void* self, sd_bus_error* error);
  void onReadable();

  std::function<void()> onWake_;
  SdBusHandle bus_;
  SdBusSlotHandle match_;
  std::unique_ptr<Subscription> watch_;
};

/// $DBUS_SYSTEM_BUS_ADDRESS, else the well-known socket.
[[nodiscard]] std::string systemBusAddress(Environment& environment);

}  // namespace tallyfox::linux_os
