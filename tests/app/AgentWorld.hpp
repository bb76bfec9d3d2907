#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/AgentInterface.hpp"
#include "app/AgentPlatform.hpp"
#include "model/PendingApproval.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {

/// Notes what the agent shows.
class RecordingInterface : public AgentInterface {
 public:
  void configureMenus() override { calls.emplace_back("configureMenus"); }
  void enableCheckForUpdates(bool enabled) override { checkForUpdatesEnabled = enabled; }
  void showStatusWindow() override { calls.emplace_back("showStatusWindow"); }
  void refreshStatusWindow() override { ++refreshes; }
  void showPendingCount(std::int64_t count) override { counts.push_back(count); }
  [[nodiscard]] std::int64_t shownCount() const { return counts.empty() ? 0 : counts.back(); }

  std::vector<std::string> calls;
  std::vector<std::int64_t> counts;
  int refreshes = 0;
  std::optional<bool> checkForUpdatesEnabled;  ///< absent until told
};

/// Everything that an agent lives in, in memory and on one virtual clock, with a relay configured.
struct AgentWorld {
  AgentWorld() {
    environment.set("TALLYFOX_RELAY_URL", "wss://relay.example.com/agent");
    environment.set("TALLYFOX_PAIRING_ID", "studio");
  }

  /// What a test puts in the place of the world's own.
  struct StandIns {
    SerialQueue* scanQueue = nullptr;
    AccessibilityObservers* observers = nullptr;
    HttpClient* http = nullptr;
    InstanceLock* instanceLock = nullptr;
    UserNotifications* notifications = nullptr;
    LoginItemService* loginItemService = nullptr;
  };
  [[nodiscard]] AgentPlatform platform() { return platform(StandIns{}); }
  [[nodiscard]] AgentPlatform platform(const StandIns& ins) {
    return {.mainQueue = *mainQueue,
            .scanQueue = ins.scanQueue != nullptr ? *ins.scanQueue : *scanQueue,
            .makeQueue = [this](const std::string& label) { return time.makeQueue(label); },
            .clock = time.clock(),
            .console = console,
            .environment = environment,
            .accessibility = desktop.accessibility(),
            .accessibilityElements = desktop.elements(),
            .accessibilityObservers = ins.observers != nullptr ? *ins.observers : desktop.observers(),
            .applications = desktop.applications(),
            .windowList = desktop.windowList(),
            .syntheticInput = desktop.input(),
            .webSockets = network.webSockets(),
            .http = ins.http != nullptr ? *ins.http : network.http(),
            .keychain = keychain,
            .defaults = defaults,
            .bundle = bundle,
            .instanceLock = ins.instanceLock != nullptr ? *ins.instanceLock : instanceLock,
            .notifications = ins.notifications != nullptr ? *ins.notifications : notifications,
            .loginItemService = ins.loginItemService != nullptr ? *ins.loginItemService : loginItemService,
            .settings = settings,
            .updater = &updater,
            .terminateApplication = [this] { ++terminations; }};
  }
  [[nodiscard]] bool printed(const std::string& line) const {
    return std::ranges::find(console.lines(), line) != console.lines().end();
  }
  [[nodiscard]] std::ptrdiff_t timesPrinted(const std::string& line) const {
    return std::ranges::count(console.lines(), line);
  }
  [[nodiscard]] Date now() { return time.clock().now(); }
  /// Drops what was recorded, so that a long run does not keep it all.
  void forget() {
    desktop.clearDeeds();
    network.forgetFrames();
    console.clear();
    notifications.forget();
    interface.calls.clear();
    interface.counts.erase(interface.counts.begin(), interface.counts.end() - (interface.counts.empty() ? 0 : 1));
  }

  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> mainQueue = time.makeQueue("main");
  std::shared_ptr<SerialQueue> scanQueue = time.makeQueue("scan");
  memory::MemoryDesktop desktop{time.clock(), *mainQueue};
  memory::MemoryNetwork network{time.makeQueue("network")};
  memory::MemoryConsole console;
  memory::MemoryEnvironment environment;
  memory::MemoryKeychain keychain;
  memory::MemoryUserDefaults defaults;
  memory::MemoryBundle bundle;
  memory::MemoryInstanceLock instanceLock;
  memory::MemoryNotifications notifications{*mainQueue};
  memory::MemoryLoginItemService loginItemService;
  memory::MemorySettingsOpener settings;
  memory::MemoryUpdater updater;
  RecordingInterface interface;
  int terminations = 0;
};

/// A record as a scan gives it: its id is the fingerprint.
inline PendingApproval scannedApproval(std::uint8_t fingerprint, Date detectedAt = {}) {
  PendingApproval approval;
  approval.id.bytes.fill(fingerprint);
  approval.suppressionID.bytes.fill(static_cast<std::uint8_t>(fingerprint + 100));
  approval.detectedAt = detectedAt;
  approval.appName = "Finder";
  approval.windowTitle = "Dialog " + std::to_string(fingerprint);
  approval.windowRole = "AXWindow";
  approval.windowFrame = {100, 100, 400, 200};
  approval.messageLines = {"Are you sure?"};
  approval.reason = "Are you sure?";
  approval.buttons = {{"Cancel", "AXButton", 110, 250, 80, 30}, {"OK", "AXButton", 210, 250, 80, 30}};
  return approval;
}

}  // namespace tallyfox
