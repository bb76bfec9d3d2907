#pragma once

#include <functional>
#include <memory>

#include "base/Date.hpp"
#include "base/MoveOnlyFunction.hpp"

namespace tallyfox {

using Task = MoveOnlyFunction<void()>;

/// A pending timer or delayed task. Destroying it cancels it: on the queue's own thread the task will then not run
/// (again); from another thread it may just be running.
class Scheduled {
 public:
  virtual ~Scheduled() = default;
};
using ScheduledHandle = std::unique_ptr<Scheduled>;

/// Runs tasks one at a time, in the order posted. The main queue is one of these, bound to the main thread. All calls
/// may come from any thread. Tasks still waiting when the queue is destroyed are dropped without running.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  virtual void post(Task task) = 0;
  /// Runs `task` once, `delay` from now on a clock that keeps running while the machine sleeps. Negative counts as 0.
  [[nodiscard]] virtual ScheduledHandle after(Seconds delay, Task task) = 0;
  /// Runs `task` again and again, the first time one `period` from now; an infinite period never fires.
  [[nodiscard]] virtual ScheduledHandle every(Seconds period, std::function<void()> task) = 0;
  /// True on the queue's own thread of work.
  [[nodiscard]] virtual bool isCurrent() const = 0;
};

/// Both clocks. Callable from any thread.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Wall clock.
  [[nodiscard]] virtual Date now() const = 0;
  /// Seconds on a clock that never jumps and keeps running while the machine sleeps; only differences mean anything.
  [[nodiscard]] virtual Seconds continuous() const = 0;
  /// Blocks the calling thread. For the click path alone, whose waits are part of pressing.
  virtual void sleep(Seconds duration) = 0;
};

}  // namespace tallyfox
