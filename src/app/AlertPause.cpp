#include "app/AlertPause.hpp"

#include <algorithm>

#include "base/ZonedCalendar.hpp"

namespace tallyfox {
namespace {

/// A pause that ends this very moment still gets a timer that fires after its end.
constexpr Seconds shortestWait{0.5};

}  // namespace

void AlertPause::pauseNotifications(NotificationPauseOption option) {
  dependencies_.store.pause(option, ZonedCalendar(dependencies_.environment.timeZoneIdentifier()));
  apply();
}

void AlertPause::resumeNotifications() {
  dependencies_.store.resume();
  apply();
}

void AlertPause::apply() {
  dependencies_.scanCycle.publishCurrentApprovalSnapshot(false);
  scheduleNotificationPauseResumeTimer();
  dependencies_.interface.refreshStatusWindow();
}

void AlertPause::scheduleNotificationPauseResumeTimer() {
  resumeTimer_.reset();
  const auto end = dependencies_.store.snapshot().pausedUntil;
  if (!end) return;
  const Seconds wait = std::max(Seconds(*end - dependencies_.clock.now()), shortestWait);
  resumeTimer_ = dependencies_.mainQueue.after(wait, lifetime_.guard([this] { handleResumeTimer(); }));
}

void AlertPause::handleResumeTimer() {
  // The clock may have been set back meanwhile.
  if (dependencies_.store.snapshot().isPaused()) return scheduleNotificationPauseResumeTimer();
  resumeTimer_.reset();
  dependencies_.scanCycle.publishCurrentApprovalSnapshot(false);
  dependencies_.interface.refreshStatusWindow();
}

}  // namespace tallyfox
