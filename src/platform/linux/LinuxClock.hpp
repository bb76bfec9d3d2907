#pragma once

#include "base/Queue.hpp"

namespace tallyfox::linux_os {

/// CLOCK_REALTIME and CLOCK_BOOTTIME.
class LinuxClock : public Clock {
 public:
  Date now() const override;
  Seconds continuous() const override;
  void sleep(Seconds duration) override;
};

}  // namespace tallyfox::linux_os
