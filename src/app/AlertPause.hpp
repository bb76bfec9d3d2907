#pragma once

#include "app/AgentInterface.hpp"
#include "app/NotificationPauseStore.hpp"
#include "app/ScanCycle.hpp"
#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "model/NotificationPauseOption.hpp"
#include "platform/Environment.hpp"

namespace tallyfox {

/// The owner's pause of all alerts: what it changes at once, and how it ends by itself. Main thread.
class AlertPause {
 public:
  struct Dependencies {
    SerialQueue& mainQueue;
    Clock& clock;
    Environment& environment;
    NotificationPauseStore& store;
    ScanCycle& scanCycle;
    AgentInterface& interface;
  };
  explicit AlertPause(Dependencies dependencies) : dependencies_(dependencies) {}

  /// Counted from now, in the owner's time zone as it is now. Replaces any earlier pause.
  void pauseNotifications(NotificationPauseOption option);
  void resumeNotifications();
  /// Sees to it that a timed pause ends when its time has come, also one that was stored before this start.
  void scheduleNotificationPauseResumeTimer();
  void cancelResumeTimer() { resumeTimer_.reset(); }

 private:
  void apply();
  void handleResumeTimer();

  Dependencies dependencies_;
  ScheduledHandle resumeTimer_;
  Lifetime lifetime_;
};

}  // namespace tallyfox
