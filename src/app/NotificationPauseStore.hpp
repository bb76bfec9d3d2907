#pragma once

#include <optional>

#include "base/Queue.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

struct NotificationPauseSnapshot {
  std::optional<Date> pausedUntil;
  bool pausesIndefinitely = false;
  bool operator==(const NotificationPauseSnapshot&) const = default;
  [[nodiscard]] bool isPaused() const { return pausesIndefinitely || pausedUntil.has_value(); }
};

/// Whether the owner has paused alerts, kept in the user defaults. Main thread.
class NotificationPauseStore {
 public:
  NotificationPauseStore(UserDefaults& defaults, Clock& clock) : defaults_(defaults), clock_(clock) {}
  /// Forgets a pause whose time has passed.
  [[nodiscard]] NotificationPauseSnapshot snapshot();
  void pause(Seconds interval, Date from);
  void pauseIndefinitely();
  void resume();

 private:
  void pruneExpiredPause(Date now);

  UserDefaults& defaults_;
  Clock& clock_;
};

}  // namespace tallyfox
