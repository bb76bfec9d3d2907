#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "app/AgentConfiguration.hpp"
#include "app/AgentInterface.hpp"
#include "app/AgentPlatform.hpp"
#include "app/AlertPause.hpp"
#include "app/RelaySession.hpp"
#include "app/ScanCycle.hpp"
#include "base/Lifetime.hpp"
#include "detection/DialogEventMonitor.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "system/LoginItemManager.hpp"
#include "system/UpdateManager.hpp"

namespace tallyfox {

/// Starts and stops the agent in a fixed order, sees to it that only one runs, and follows the accessibility
/// permission. Main thread.
class AgentLifecycle {
 public:
  struct Dependencies {
    AgentPlatform& platform;
    AgentInterface& interface;
    const AgentConfiguration& configuration;
    PairingConfiguration& pairing;
    ScanCycle& scanCycle;
    RelaySession& relaySession;
    AlertPause& alertPause;
    LoginItemManager& loginItem;
    UpdateManager* updateManager;  ///< none where updates are not configured
  };
  explicit AgentLifecycle(Dependencies dependencies);
  ~AgentLifecycle();
  AgentLifecycle(const AgentLifecycle&) = delete;
  AgentLifecycle& operator=(const AgentLifecycle&) = delete;

  void start();
  /// May be called more than once, and without a start.
  void stop();
  /// The permission takes effect some time after it is granted: looks again after 0.15, 0.75 and 2.0 seconds.
  void scheduleAccessibilityRechecks();
  /// With `forceRefresh` the phone gets its list anew even when nothing changed.
  void handleAccessibilityStatusChangeIfNeeded(bool forceRefresh);

 private:
  void terminateOtherAgents();
  void configureMenus();
  [[nodiscard]] bool acquireSingleInstanceLock();
  void requestNotificationPermission();
  void startPromptDetection();

  Dependencies dependencies_;
  bool lastAccessibilityTrusted_;
  std::unique_ptr<HeldLock> instanceLock_;
  std::unique_ptr<DialogEventMonitor> eventMonitor_;
  std::unique_ptr<Subscription> trustSubscription_;
  ScheduledHandle safetySweepTimer_;
  ScheduledHandle accessibilityStatusTimer_;
  ScheduledHandle promptDetectionStart_;
  std::map<std::uint64_t, ScheduledHandle> accessibilityRechecks_;
  std::uint64_t recheckCount_ = 0;
  Lifetime lifetime_;
};

}  // namespace tallyfox
