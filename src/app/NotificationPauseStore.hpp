#pragma once

#include "base/Calendar.hpp"
#include "base/Queue.hpp"
#include "model/NotificationPauseOption.hpp"
#include "model/NotificationPauseSnapshot.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

/// Whether the owner has paused alerts, kept in the user defaults. Main thread.
class NotificationPauseStore {
 public:
  NotificationPauseStore(UserDefaults& defaults, Clock& clock) : defaults_(defaults), clock_(clock) {}
  /// Forgets a pause whose time has passed.
  [[nodiscard]] NotificationPauseSnapshot snapshot();
  /// From now on; `calendar` is the owner's, as it is now.
  void pause(NotificationPauseOption option, const Calendar& calendar);
  void pause(Seconds interval, Date from);
  /// Until the clock shows nine on the morning of the next calendar day, whatever the clocks do in between.
  void pauseUntilTomorrow(Date from, const Calendar& calendar);
  void pauseIndefinitely();
  void resume();

 private:
  void pauseUntil(Date end);
  void pruneExpiredPause(Date now);

  UserDefaults& defaults_;
  Clock& clock_;
};

}  // namespace tallyfox
