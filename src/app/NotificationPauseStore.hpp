#pragma once

#include "base/Queue.hpp"
#include "model/NotificationPauseSnapshot.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

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
