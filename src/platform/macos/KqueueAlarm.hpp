#pragma once

#include <cstdint>

#include "base/Alarm.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::mac_os {

/// The alarm of one queue's timers, on the continuous clock. Its descriptor is readable once the moment has come, also
/// when that happened while the machine slept. Any thread.
class KqueueAlarm : public Alarm {
 public:
  KqueueAlarm();

  /// For the queue's event loop to watch; open as long as the alarm lives.
  [[nodiscard]] int descriptor() const { return queue_.get(); }

  [[nodiscard]] std::int64_t now() const override;
  void set(std::int64_t deadline) override;
  void acknowledge() override;

 private:
  posix_os::FileDescriptor queue_;
};

}  // namespace tallyfox::mac_os
