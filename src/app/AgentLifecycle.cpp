#include "app/AgentLifecycle.hpp"

#include <array>
#include <string>
#include <utility>

#include "system/InstallLocation.hpp"

namespace tallyfox {
namespace {

constexpr const char* lockFileName = "com.tallyfox.agent.lock";
/// Every name that the agent has been installed under, the oldest first.
constexpr std::array agentBundleIdentifiers = {"com.quarrystone.agent", "com.tallyfox.agent"};
constexpr Seconds accessibilityStatusPeriod{2.0};
constexpr std::array accessibilityRecheckDelays = {Seconds(0.15), Seconds(0.75), Seconds(2.0)};
/// Lets the status window come up before the first look at the screen.
constexpr Seconds promptDetectionDelay{0.3};

}  // namespace

AgentLifecycle::AgentLifecycle(Dependencies dependencies)
    : dependencies_(dependencies), lastAccessibilityTrusted_(dependencies.platform.accessibility.isProcessTrusted()) {}

AgentLifecycle::~AgentLifecycle() = default;

void AgentLifecycle::start() {
  AgentPlatform& platform = dependencies_.platform;
  terminateOtherAgents();
  if (!acquireSingleInstanceLock()) {
    platform.terminateApplication();
    return;
  }
  configureMenus();
  trustSubscription_ =
      platform.accessibilityObservers.observeTrustChanges(lifetime_.guard([this] { scheduleAccessibilityRechecks(); }));
  if (isRunningFromApplications(platform.bundle)) {
    dependencies_.loginItem.registerItem();
    dependencies_.relaySession.startRelayIfConfigured();
  }
  accessibilityStatusTimer_ = platform.mainQueue.every(
      accessibilityStatusPeriod, lifetime_.guard([this] { handleAccessibilityStatusChangeIfNeeded(false); }));
  dependencies_.alertPause.scheduleNotificationPauseResumeTimer();
  requestNotificationPermission();
  dependencies_.interface.showStatusWindow();
  promptDetectionStart_ = platform.mainQueue.after(promptDetectionDelay, lifetime_.guard([this] {
    if (isRunningFromApplications(dependencies_.platform.bundle)) startPromptDetection();
  }));
}

void AgentLifecycle::terminateOtherAgents() {
  Applications& applications = dependencies_.platform.applications;
  for (const char* identifier : agentBundleIdentifiers) {
    for (const RunningApplication& agent : applications.applicationsWithBundleIdentifier(identifier)) {
      if (agent.processIdentifier != applications.ownProcessIdentifier())
        applications.terminate(agent.processIdentifier);
    }
  }
}

bool AgentLifecycle::acquireSingleInstanceLock() {
  LockResult result = dependencies_.platform.instanceLock.acquire(lockFileName);
  instanceLock_ = std::move(result.lock);
  // Without a lock file the agent rather runs unlocked than not at all.
  return result.outcome != LockOutcome::heldByAnother;
}

void AgentLifecycle::configureMenus() {
  dependencies_.interface.configureMenus();
  dependencies_.interface.enableCheckForUpdates(dependencies_.updateManager != nullptr);
  if (dependencies_.updateManager != nullptr) dependencies_.updateManager->start();
}

void AgentLifecycle::requestNotificationPermission() {
  if (!dependencies_.platform.bundle.bundleIdentifier()) return;
  dependencies_.platform.notifications.requestAuthorization(
      lifetime_.guard([this](const std::expected<bool, std::string>& answer) {
        if (answer) return;
        dependencies_.platform.console.printLine("Unable to request notification permission: " + answer.error());
      }));
}

void AgentLifecycle::startPromptDetection() {
  if (!dependencies_.pairing.isRelayConfigured()) return;
  AgentPlatform& platform = dependencies_.platform;
  eventMonitor_ = std::make_unique<DialogEventMonitor>(
      DialogEventMonitor::Dependencies{
          .mainQueue = platform.mainQueue,
          .observers = platform.accessibilityObservers,
          .applications = platform.applications,
          .windowList = platform.windowList,
          .visibleOwnerPollInterval = [this] { return dependencies_.configuration.visibleWindowOwnerPoll(); }},
      dependencies_.configuration.eventScanDebounce(),
      lifetime_.guard([this](const std::string& reason) { dependencies_.scanCycle.scheduleScan(reason); }));
  eventMonitor_->start();
  safetySweepTimer_ = platform.mainQueue.every(
      dependencies_.configuration.safetySweepInterval(),
      lifetime_.guard([this] { dependencies_.scanCycle.scheduleConfirmedScan("safety-sweep"); }));
  dependencies_.scanCycle.scheduleScan("prompt-detection-started");
}

void AgentLifecycle::scheduleAccessibilityRechecks() {
  for (const Seconds delay : accessibilityRecheckDelays) {
    const std::uint64_t number = ++recheckCount_;
    accessibilityRechecks_[number] = dependencies_.platform.mainQueue.after(delay, lifetime_.guard([this, number] {
      const auto finished = accessibilityRechecks_.extract(number);
      handleAccessibilityStatusChangeIfNeeded(true);
    }));
  }
}

void AgentLifecycle::handleAccessibilityStatusChangeIfNeeded(bool forceRefresh) {
  const bool trusted = dependencies_.platform.accessibility.isProcessTrusted();
  if (trusted == lastAccessibilityTrusted_) {
    if (!forceRefresh) return;
    dependencies_.scanCycle.publishCurrentApprovalSnapshot(true);
  } else {
    if (eventMonitor_) eventMonitor_->refreshApplications();
    lastAccessibilityTrusted_ = trusted;
    if (trusted) {
      dependencies_.scanCycle.publishCurrentApprovalSnapshot(false);
      dependencies_.scanCycle.scheduleConfirmedScan("accessibility-granted");
    } else {
      dependencies_.scanCycle.emptyWithoutTrust();
    }
  }
  dependencies_.interface.refreshStatusWindow();
}

void AgentLifecycle::stop() {
  safetySweepTimer_.reset();
  dependencies_.relaySession.cancelStartupRetry();
  accessibilityStatusTimer_.reset();
  dependencies_.alertPause.cancelResumeTimer();
  promptDetectionStart_.reset();
  accessibilityRechecks_.clear();
  trustSubscription_.reset();
  dependencies_.relaySession.cancelRegistration();
  dependencies_.scanCycle.stop();
  if (eventMonitor_) eventMonitor_->stop();
  dependencies_.relaySession.disconnect();
  instanceLock_.reset();
}

}  // namespace tallyfox
