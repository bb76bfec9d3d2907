// The agent on the Mac: builds every part of the backend, joins them to the agent, and runs the application.

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/AppDelegate.hpp"
#include "app/InterfaceWiring.hpp"
#include "platform/macos/CGEventInput.hpp"
#include "platform/macos/LaunchArguments.hpp"
#include "platform/macos/MacAccessibility.hpp"
#include "platform/macos/MacAccessibilityObservers.hpp"
#include "platform/macos/MacApplications.hpp"
#include "platform/macos/MacClock.hpp"
#include "platform/macos/MacDirectories.hpp"
#include "platform/macos/MacEnvironment.hpp"
#include "platform/macos/MacLoginItemService.hpp"
#include "platform/macos/MacMainQueue.hpp"
#include "platform/macos/MacSerialQueue.hpp"
#include "platform/macos/MacUserDefaults.hpp"
#include "platform/macos/MacUserNotifications.hpp"
#include "platform/macos/MacWindowList.hpp"
#include "platform/macos/MainBundle.hpp"
#include "platform/macos/NapPrevention.hpp"
#include "platform/macos/SecItemKeychain.hpp"
#include "platform/macos/SparkleUpdater.hpp"
#include "platform/macos/URLSessionHttpClient.hpp"
#include "platform/macos/URLSessionWebSocketTransport.hpp"
#include "platform/macos/WakeWatcher.hpp"
#include "platform/macos/WorkspaceSettingsOpener.hpp"
#include "platform/macos/window/AppKitInterface.hpp"
#include "platform/macos/window/ApplicationDelegate.hpp"
#include "platform/macos/window/CallOut.hpp"
#include "platform/posix/FlockInstanceLock.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox::mac_os {
namespace {

/// Every part of the backend, each before those that refer to it.
struct Backend {
  MacEnvironment environment;
  posix_os::StandardOutputConsole console;
  MacClock clock;
  MacMainQueue mainQueue;
  MacSerialQueue scanQueue{"com.tallyfox.agent.scan"};
  MacUserDefaults defaults;
  SecItemKeychain keychain;
  MainBundle bundle;
  MacLoginItemService loginItem;
  WorkspaceSettingsOpener settings;
  posix_os::FlockInstanceLock instanceLock{temporaryDirectory()};
  MacUserNotifications notifications{mainQueue};
  MacAccessibility accessibility{clock};
  MacAccessibilityObservers observers{mainQueue, accessibility};
  MacApplications applications{mainQueue};
  MacWindowList windowList;
  CGEventInput input;
  URLSessionWebSocketTransport webSockets;
  WakeWatcher wakeWatcher{[this] { webSockets.demandProofOfLife(); }};
  URLSessionHttpClient http;
  std::unique_ptr<Updater> updater = SparkleUpdater::load(console);
  NapPrevention napPrevention;
};

AgentPlatform platformOf(Backend& backend) {
  return {.mainQueue = backend.mainQueue,
          .scanQueue = backend.scanQueue,
          .makeQueue = [](const std::string& label) { return std::make_shared<MacSerialQueue>(label); },
          .clock = backend.clock,
          .console = backend.console,
          .environment = backend.environment,
          .accessibility = backend.accessibility,
          .accessibilityElements = backend.accessibility,
          .accessibilityObservers = backend.observers,
          .applications = backend.applications,
          .windowList = backend.windowList,
          .syntheticInput = backend.input,
          .webSockets = backend.webSockets,
          .http = backend.http,
          .keychain = backend.keychain,
          .defaults = backend.defaults,
          .bundle = backend.bundle,
          .instanceLock = backend.instanceLock,
          .notifications = backend.notifications,
          .loginItemService = backend.loginItem,
          .settings = backend.settings,
          .updater = backend.updater.get(),
          // In a task of its own: AppKit ends the process without returning to whoever asks it to.
          .terminateApplication = [&backend] { backend.mainQueue.post([] { [NSApp terminate:nil]; }); }};
}

/// Quits the agent for SIGINT and SIGTERM, instead of the signals' own effect.
class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void()> onTerminate) {
    const auto terminate = std::make_shared<const std::function<void()>>(std::move(onTerminate));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      std::signal(numbers[i], SIG_IGN);
      const auto number = static_cast<std::uintptr_t>(numbers[i]);
      sources_[i] = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, number, 0, dispatch_get_main_queue());
      dispatch_source_set_event_handler(sources_[i], ^{
        callOut(*terminate);
      });
      dispatch_activate(sources_[i]);
    }
  }

 private:
  static constexpr std::array<int, 2> numbers = {SIGINT, SIGTERM};
  std::array<dispatch_source_t, 2> sources_;
};

/// Does not return: the application ends the process, after it has told its delegate.
int run() {
  NSApplication* application = NSApplication.sharedApplication;
  // No Dock icon until the status window is shown.
  [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
  Backend backend;
  std::unique_ptr<AppDelegate> agent;
  AppKitInterface interface({.version = TALLYFOX_VERSION},
                            interfaceActionsOf(agent, backend.clock, backend.environment), backend.mainQueue);
  agent = std::make_unique<AppDelegate>(platformOf(backend), interface);
  // The application does not keep it, and a plain variable may give it up after its last use.
  NS_VALID_UNTIL_END_OF_SCOPE TFApplicationDelegate* delegate = [[TFApplicationDelegate alloc]
      initWithEvents:{.onDidFinishLaunching = [&agent] { agent->applicationDidFinishLaunching(); },
                      .onReopen =
                          [&agent](bool hasVisibleWindows) {
                            return agent->applicationShouldHandleReopen(hasVisibleWindows);
                          },
                      .onWillTerminate = [&agent] { agent->applicationWillTerminate(); }}];
  application.delegate = delegate;
  const TerminationSignals signals([&agent] { agent->quit(); });
  [application run];
  return 0;
}

}  // namespace
}  // namespace tallyfox::mac_os

int main(int argc, char** argv) {
  using namespace tallyfox::mac_os;
  std::signal(SIGPIPE, SIG_IGN);
  const auto purpose = launchPurpose(std::vector<std::string>(argv + 1, argv + argc));
  if (!purpose) {
    std::fprintf(stderr, "tallyfox: %s See --help.\n", purpose.error().c_str());
    constexpr int wrongUsage = 2;
    return wrongUsage;
  }
  @autoreleasepool {
    switch (*purpose) {
      case LaunchPurpose::showHelp:
        std::fputs(usageText().c_str(), stdout);
        return 0;
      case LaunchPurpose::showVersion:
        std::puts("tallyfox " TALLYFOX_VERSION);
        return 0;
      case LaunchPurpose::runAgent:
        return run();
    }
  }
}
