#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Queue.hpp"

namespace tallyfox::memory {

/// One clock and any number of serial queues, run by the test's own thread: deterministic, without a real wait. Tasks
/// due at the same moment run in the order in which they were posted. While a task sleeps, the tasks of other queues go
/// on; those of its own queue wait, as on a real thread.
class VirtualTime {
 public:
  /// The wall clock starts at 2026-01-01T00:00:00Z.
  VirtualTime();
  ~VirtualTime();

  [[nodiscard]] std::shared_ptr<SerialQueue> makeQueue(const std::string& label);
  [[nodiscard]] Clock& clock();

  /// Runs everything that is due now, without moving the clock.
  void runDue();
  /// Moves the clock forward, running what falls due on the way at its own moment.
  void advance(Seconds duration);
  /// Advances from event to event until `condition` holds or `limit` has passed; says whether it holds.
  bool advanceUntil(const std::function<bool()>& condition, Seconds limit);
  /// Sets the wall clock alone, as a clock change does.
  void setWallClock(Date date);
  [[nodiscard]] std::size_t pendingTaskCount() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tallyfox::memory
