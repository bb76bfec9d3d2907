#include "app/AppDelegate.hpp"

#include <utility>
#include <variant>

#include "actions/ClickExecutor.hpp"
#include "actions/DialogFocusResolver.hpp"
#include "app/AgentConfiguration.hpp"
#include "app/AgentLifecycle.hpp"
#include "app/AlertPause.hpp"
#include "app/ApprovalStore.hpp"
#include "app/ApprovalSuppressionStore.hpp"
#include "app/NotificationPauseStore.hpp"
#include "app/RelaySession.hpp"
#include "app/RemoteDecisions.hpp"
#include "app/ScanCycle.hpp"
#include "app/StatusReport.hpp"
#include "detection/DialogDetector.hpp"
#include "detection/DialogScanWorker.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "system/LoginItemManager.hpp"
#include "system/PermissionManager.hpp"
#include "system/UpdateManager.hpp"

namespace tallyfox {
namespace {

/// What a scan touches on its own thread. A scan under way shares it, so that it may outlive the agent.
struct Detection {
  explicit Detection(const AgentPlatform& platform)
      : suppressionStore(platform.defaults),
        detector(
            {.accessibility = platform.accessibility,
             .elements = platform.accessibilityElements,
             .applications = platform.applications,
             .windowList = platform.windowList,
             .clock = platform.clock,
             .console = platform.console,
             .isSuppressed = [this](const Uuid& suppressionID) { return suppressionStore.contains(suppressionID); },
             .diagnosticsEnabled = [configuration = AgentConfiguration(
                                        platform.environment)] { return configuration.dialogDiagnostics(); }}),
        worker(detector, platform.scanQueue, platform.mainQueue) {}

  ApprovalSuppressionStore suppressionStore;
  DialogDetector detector;
  DialogScanWorker worker;
};

}  // namespace

struct AppDelegate::Parts {
  Parts(AgentPlatform givenPlatform, AgentInterface& givenInterface);

  AgentPlatform platform;
  AgentInterface& interface;
  AgentConfiguration configuration;
  std::shared_ptr<Detection> detection;
  ApprovalStore store;
  NotificationPauseStore notificationPauseStore;
  PairingConfiguration pairing;
  DialogFocusResolver focusResolver;
  ClickExecutor clickExecutor;
  ScanCycle scanCycle;
  RemoteDecisions remoteDecisions;
  RelaySession relaySession;
  AlertPause alertPause;
  LoginItemManager loginItem;
  std::unique_ptr<UpdateManager> updateManager;
  StatusReport statusReport;
  AgentLifecycle lifecycle;
};

AppDelegate::Parts::Parts(AgentPlatform givenPlatform, AgentInterface& givenInterface)
    : platform(std::move(givenPlatform)),
      interface(givenInterface),
      configuration(platform.environment),
      detection(std::make_shared<Detection>(platform)),
      store(configuration.approvalStaleGrace(), platform.clock),
      notificationPauseStore(platform.defaults, platform.clock),
      pairing({.environment = platform.environment,
               .bundle = platform.bundle,
               .defaults = platform.defaults,
               .keychain = platform.keychain,
               .console = platform.console}),
      focusResolver(detection->detector),
      clickExecutor({.accessibility = platform.accessibility,
                     .elements = platform.accessibilityElements,
                     .input = platform.syntheticInput,
                     .clock = platform.clock}),
      scanCycle({.mainQueue = platform.mainQueue,
                 .console = platform.console,
                 .accessibility = platform.accessibility,
                 .bundle = platform.bundle,
                 .notifications = platform.notifications,
                 .interface = interface,
                 .configuration = configuration,
                 .pairing = pairing,
                 .store = store,
                 .pauseStore = notificationPauseStore,
                 .scan =
                     [detected = detection](std::function<void(std::vector<PendingApproval>)> completion) {
                       detected->worker.scan(
                           [detected, completion = std::move(completion)](std::vector<PendingApproval> approvals) {
                             completion(std::move(approvals));
                           });
                     },
                 .publishSnapshot =
                     [this](const std::vector<PendingApproval>& approvals, bool accessibilityTrusted, bool force) {
                       relaySession.publishSnapshot(approvals, accessibilityTrusted, force);
                     }}),
      remoteDecisions({.store = store,
                       .resolver = focusResolver,
                       .executor = clickExecutor,
                       .accessibility = platform.accessibility,
                       .elements = platform.accessibilityElements,
                       .console = platform.console}),
      relaySession(
          {.mainQueue = platform.mainQueue,
           .makeQueue = platform.makeQueue,
           .clock = platform.clock,
           .console = platform.console,
           .http = platform.http,
           .webSockets = platform.webSockets,
           .pairing = pairing,
           .store = store,
           .suppressionStore = detection->suppressionStore,
           .scanCycle = scanCycle,
           .interface = interface,
           .decide = [this](const ApprovalRequestEnvelope& envelope) { return remoteDecisions.carryOut(envelope); }}),
      alertPause({.mainQueue = platform.mainQueue,
                  .clock = platform.clock,
                  .environment = platform.environment,
                  .store = notificationPauseStore,
                  .scanCycle = scanCycle,
                  .interface = interface}),
      loginItem(platform.bundle, platform.loginItemService, platform.settings),
      updateManager(UpdateManager::makeIfConfigured(platform.bundle, platform.updater,
                                                    [this] { interface.refreshStatusWindow(); })),
      statusReport({.accessibility = platform.accessibility,
                    .bundle = platform.bundle,
                    .pairing = pairing,
                    .pauseStore = notificationPauseStore,
                    .scanCycle = scanCycle,
                    .relaySession = relaySession,
                    .loginItem = loginItem,
                    .updateManager = updateManager.get()}),
      lifecycle({.platform = platform,
                 .interface = interface,
                 .configuration = configuration,
                 .pairing = pairing,
                 .scanCycle = scanCycle,
                 .relaySession = relaySession,
                 .alertPause = alertPause,
                 .loginItem = loginItem,
                 .updateManager = updateManager.get()}) {}

AppDelegate::AppDelegate(AgentPlatform platform, AgentInterface& interface)
    : parts_(std::make_unique<Parts>(std::move(platform), interface)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
  parts_->lifecycle.start();
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
  showStatusWindow();
  return true;
}

void AppDelegate::applicationWillTerminate() {
  parts_->lifecycle.stop();
}

void AppDelegate::quit() {
  parts_->platform.terminateApplication();
}

void AppDelegate::showStatusWindow() {
  parts_->interface.showStatusWindow();
}

MacStatusSnapshot AppDelegate::currentStatusSnapshot() {
  return parts_->statusReport.currentStatusSnapshot();
}

void AppDelegate::requestPermissions() {
  PermissionManager::openPrivacySettings(parts_->platform.settings, PermissionManager::accessibilityAnchor);
  parts_->lifecycle.scheduleAccessibilityRechecks();
}

void AppDelegate::enableLoginItem() {
  // What then still stands in the way, only the owner can change.
  const LoginItemStatus status = parts_->loginItem.registerItem();
  if (std::holds_alternative<login_item::RequiresApproval>(status)) parts_->loginItem.openSettings();
  parts_->interface.refreshStatusWindow();
}

void AppDelegate::pauseNotifications(NotificationPauseOption option) {
  parts_->alertPause.pauseNotifications(option);
}

void AppDelegate::resumeNotifications() {
  parts_->alertPause.resumeNotifications();
}

void AppDelegate::unpairPhoneFromStatusWindow() {
  parts_->relaySession.unpairPhoneFromStatusWindow();
}

bool AppDelegate::pairingResetInProgress() const {
  return parts_->relaySession.pairingResetInProgress();
}

std::optional<std::string> AppDelegate::credentialError() const {
  return parts_->pairing.cachedCredentialError();
}

void AppDelegate::checkForUpdates() {
  if (parts_->updateManager) return parts_->updateManager->checkForUpdates();
  parts_->interface.enableCheckForUpdates(false);
}

}  // namespace tallyfox
