#pragma once

#include <cstdint>

namespace tallyfox {

/// What wakes the event loop of a queue when its next timer is due, by a clock that keeps running while the machine
/// sleeps. Any thread; DeadlineTimers never calls two of the writing operations at once.
class Alarm {
 public:
  virtual ~Alarm() = default;
  /// Nanoseconds on that clock.
  [[nodiscard]] virtual std::int64_t now() const = 0;
  /// Wakes the loop at `deadline`, at once when it has passed. Replaces the deadline set before.
  virtual void set(std::int64_t deadline) = 0;
  /// The loop has been woken; until the next set() the alarm is silent.
  virtual void acknowledge() = 0;
};

}  // namespace tallyfox
