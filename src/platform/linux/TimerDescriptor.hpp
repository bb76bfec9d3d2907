#pragma once

#include "base/Alarm.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// An alarm on CLOCK_BOOTTIME whose descriptor is readable when it rings.
class TimerDescriptor : public Alarm {
 public:
  TimerDescriptor();
  [[nodiscard]] int get() const { return descriptor_.get(); }

  [[nodiscard]] std::int64_t now() const override;
  void set(std::int64_t deadline) override;
  void acknowledge() override;

 private:
  posix_os::FileDescriptor descriptor_;
};

}  // namespace tallyfox::linux_os
