#pragma once

#include "base/Queue.hpp"

namespace tallyfox::mac_os {

/// The system's clocks; the continuous one is that of every timer.
class MacClock : public Clock {
 public:
  [[nodiscard]] Date now() const override;
  [[nodiscard]] Seconds continuous() const override;
  void sleep(Seconds duration) override;
};

}  // namespace tallyfox::mac_os
