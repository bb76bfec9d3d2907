// The agent on Linux: builds every part of the backend, joins them to the agent, and runs the main queue.

#include <fmt/format.h>

#include <QApplication>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/AgentConfiguration.hpp"
#include "app/AgentControl.hpp"
#include "app/AppDelegate.hpp"
#include "app/InterfaceWiring.hpp"
#include "app/PairingExamination.hpp"
#include "platform/linux/AgentCommand.hpp"
#include "platform/linux/AtspiEventSource.hpp"
#include "platform/linux/AutostartEntry.hpp"
#include "platform/linux/BeastHttpClient.hpp"
#include "platform/linux/BeastWebSocketTransport.hpp"
#include "platform/linux/CommandLine.hpp"
#include "platform/linux/ControlServer.hpp"
#include "platform/linux/ControlSocket.hpp"
#include "platform/linux/CurrentDesktop.hpp"
#include "platform/linux/DesktopNotifications.hpp"
#include "platform/linux/DesktopSettings.hpp"
#include "platform/linux/FileKeychain.hpp"
#include "platform/linux/FileUserDefaults.hpp"
#include "platform/linux/InstalledBundle.hpp"
#include "platform/linux/LinuxAccessibility.hpp"
#include "platform/linux/LinuxAccessibilityObservers.hpp"
#include "platform/linux/LinuxApplications.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/LinuxExamination.hpp"
#include "platform/linux/LinuxKeychain.hpp"
#include "platform/linux/LinuxWindowList.hpp"
#include "platform/linux/NetworkThread.hpp"
#include "platform/linux/ProcessEnvironment.hpp"
#include "platform/linux/ProgramLauncher.hpp"
#include "platform/linux/SecretServiceKeychain.hpp"
#include "platform/linux/SleepWatcher.hpp"
#include "platform/linux/ThreadQueue.hpp"
#include "platform/linux/TrustChangeWatcher.hpp"
#include "platform/linux/UserDirectories.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11EventSource.hpp"
#include "platform/linux/XTestInput.hpp"
#include "platform/linux/window/QtInterface.hpp"
#include "platform/linux/window/QtMainLoop.hpp"
#include "platform/posix/FlockInstanceLock.hpp"
#include "platform/posix/StandardOutputConsole.hpp"
#include "system/InstallLocation.hpp"
#include "ui/DoctorReport.hpp"

namespace tallyfox::linux_os {
namespace {

/// The agent's application object for Qt.
struct Application {
  explicit Application(char** argumentValues) : application(count, argumentValues) {
    QApplication::setApplicationName(QStringLiteral("tallyfox"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tallyfox"));
    QApplication::setDesktopFileName(QStringLiteral("com.tallyfox.agent"));
  }
  int count = 1;  // its own arguments are none of Qt's
  QApplication application;
};

/// What needs no connection to the display.
struct Services {
  ProcessEnvironment environment;
  posix_os::StandardOutputConsole console;
  LinuxClock clock;
  UserDirectories directories = UserDirectories::from(environment);
  QtMainLoop mainLoop;
  SecretServiceKeychain secretService{sessionBusAddress(environment)};
  FileKeychain fileKeychain{directories.dataHome};
  LinuxKeychain keychain{secretService, fileKeychain};
  FileUserDefaults defaults{directories.configHome, console};
  InstalledBundle bundle{InstalledBundle::runningExecutable(), directories.home};
  std::vector<std::string> desktopNames = currentDesktopNames(environment);
  ProgramLauncher launcher{environment.value("PATH").value_or("")};
  AutostartEntry loginItem{directories.configHome, bundle.path(), desktopNames, launcher};
  DesktopSettings settings{desktopNames, launcher};
  posix_os::FlockInstanceLock instanceLock{directories.temporary};
};

/// The desktop as the agent sees and touches it. The main thread and the scans share one connection for questions;
/// events and synthetic input have connections of their own.
struct Desktop {
  Desktop(std::shared_ptr<X11Desktop> opened, Services& services)
      : x11(std::move(opened)),
        display(services.environment.value("DISPLAY")),
        events(display, services.mainLoop, services.mainLoop),
        contentEvents("", services.mainLoop),
        trustChanges("", services.mainLoop),
        accessibility(x11, services.console, "",
                      {.unseenWindows = unseenWindowsOf(services),
                       .onSilence =
                           [this, &mainQueue = services.mainLoop](const std::string& busName) {
                             mainQueue.post([this, busName] { contentEvents.awaitAnswer(busName); });
                           }}),
        observers(events, contentEvents,
                  [this](std::function<void()> onChange) { return trustChanges.subscribe(std::move(onChange)); }),
        applications({x11, events, services.mainLoop, services.directories.dataDirectories,
                      [this] { return contentEvents.programs(); }}),
        windowList(x11),
        input(x11, display),
        signsOnScreen(events.subscribe([this](const X11Change& change) {
          // A program that opens a window is worth another look for a bus that was lost.
          if (change.kind == X11ChangeKind::windowOpened) contentEvents.connect();
          accessibility.heardOf(change.processIdentifier);
        })),
        signsInContent(contentEvents.subscribe(
            [this](const AtspiChange& change) { accessibility.heardOf(change.processIdentifier); })) {}

  [[nodiscard]] static std::unique_ptr<UnseenWindows> unseenWindowsOf(Services& services) {
    const bool isWanted = AgentConfiguration(services.environment).dialogDiagnostics();
    return isWanted ? std::make_unique<UnseenWindows>(services.console) : nullptr;
  }

  std::shared_ptr<X11Desktop> x11;
  std::optional<std::string> display;
  X11EventSource events;
  AtspiEventSource contentEvents;
  TrustChangeWatcher trustChanges;
  LinuxAccessibility accessibility;
  LinuxAccessibilityObservers observers;
  LinuxApplications applications;
  LinuxWindowList windowList;
  XTestInput input;
  std::unique_ptr<Subscription> signsOnScreen;
  std::unique_ptr<Subscription> signsInContent;
};

/// The threads beside the main one, and what they carry.
struct Workers {
  explicit Workers(Services& services)
      : network(ProxySettings::from(services.environment)), notifications(services.mainLoop) {}
  ThreadQueue scanQueue{"scan"};
  NetworkThread network;
  BeastWebSocketTransport webSockets{network};
  BeastHttpClient http{network};
  DesktopNotifications notifications;
};

/// Null where no socket can be made; the agent then works without commands.
std::unique_ptr<ControlServer> openedControlServer(Services& services, AgentControl& control) {
  const auto refused = [&](const FileError& error) {
    services.console.printLine("Unable to take commands: " + error.description());
    return nullptr;
  };
  auto directory = controlDirectory(services.directories, true);
  if (!directory) return refused(directory.error());
  auto server = ControlServer::open(std::move(*directory),
                                    {.watcher = services.mainLoop,
                                     .mainQueue = services.mainLoop,
                                     .handler = [&control](std::string_view line) { return control.answer(line); }});
  if (!server) return refused(server.error());
  return std::move(*server);
}

int run(char** arguments) {
  ProcessEnvironment environment;
  // Starting the agent again is how its owner asks for its window.
  if (showRunningAgent(UserDirectories::from(environment))) {
    fmt::print("Tallyfox is running already; it shows its window.\n");
    return exit_status::done;
  }
  auto x11 = X11Desktop::open(environment.value("DISPLAY"));
  if (!x11) {
    fmt::print(stderr, "Tallyfox cannot open the display: {}\n", x11.error());
    return exit_status::failed;
  }
  const Application application(arguments);
  Services services;
  Desktop desktop(std::move(*x11), services);
  Workers workers(services);
  const SleepWatcher sleepWatcher(systemBusAddress(services.environment), services.mainLoop,
                                  [&workers] { workers.webSockets.demandProofOfLife(); });
  std::unique_ptr<AppDelegate> agent;
  QtInterface interface({.version = TALLYFOX_VERSION,
                         .sessionBusAddress = "",
                         .translations = services.bundle.resources() / "translations"},
                        interfaceActionsOf(agent, services.clock, services.environment), services.mainLoop);
  agent = std::make_unique<AppDelegate>(
      AgentPlatform{.mainQueue = services.mainLoop,
                    .scanQueue = workers.scanQueue,
                    .makeQueue = [](const std::string& label) { return std::make_shared<ThreadQueue>(label); },
                    .clock = services.clock,
                    .console = services.console,
                    .environment = services.environment,
                    .accessibility = desktop.accessibility,
                    .accessibilityElements = desktop.accessibility,
                    .accessibilityObservers = desktop.observers,
                    .applications = desktop.applications,
                    .windowList = desktop.windowList,
                    .syntheticInput = desktop.input,
                    .webSockets = workers.webSockets,
                    .http = workers.http,
                    .keychain = services.keychain,
                    .defaults = services.defaults,
                    .bundle = services.bundle,
                    .instanceLock = services.instanceLock,
                    .notifications = workers.notifications,
                    .loginItemService = services.loginItem,
                    .settings = services.settings,
                    .terminateApplication = [&services] { services.mainLoop.quit(); }},
      interface);
  AgentControl control({.agent = *agent,
                        .mainQueue = services.mainLoop,
                        .clock = services.clock,
                        .environment = services.environment,
                        .version = TALLYFOX_VERSION});
  std::unique_ptr<ControlServer> controlServer;
  const auto signals = services.mainLoop.watchTerminationSignals([&agent] { agent->quit(); });
  services.mainLoop.post([&agent] { agent->applicationDidFinishLaunching(); });
  // Not reached by an agent that finds another one running: its launch has ended it.
  services.mainLoop.post([&] { controlServer = openedControlServer(services, control); });
  services.mainLoop.run();
  // While this agent still holds the instance lock: no other one has a socket yet that this one could take away.
  controlServer.reset();
  agent->applicationWillTerminate();
  agent.reset();
  return 0;
}

/// Looks at everything the agent needs and prints what was found; gives the exit status.
int examine(bool json) {
  ProcessEnvironment environment;
  const ExaminedPlaces places = ExaminedPlaces::from(environment);
  const UserDirectories& directories = places.directories;
  posix_os::StandardOutputConsole console(STDERR_FILENO);
  FileUserDefaults defaults(directories.configHome, console);
  SecretServiceKeychain secretService(places.sessionBusAddress);
  FileKeychain fileKeychain(directories.dataHome);
  LinuxKeychain keychain(secretService, fileKeychain);
  InstalledBundle bundle(InstalledBundle::runningExecutable(), directories.home);

  const ExaminedRelay relay = examinedRelay(environment, bundle, defaults, keychain);
  LinuxExamination examination(places, relay.health);
  const ExaminedIdentity identity = examinedIdentity(keychain, relay);
  if (identity.registration) examination.askRegistration(*identity.registration);
  DoctorFacts facts = examination.facts();
  facts.relaySetting = relay.setting;
  facts.identity = identity.identity;
  facts.loginItem = AutostartEntry(directories.configHome, bundle.path(), currentDesktopNames(environment),
                                   ProgramLauncher(environment.value("PATH").value_or("")))
                        .status();
  facts.executable = bundle.path();
  facts.isApplicationBundle = bundle.isApplicationBundle();
  facts.isInApplications = isRunningFromApplications(bundle);
  facts.ownVersion = TALLYFOX_VERSION;

  const auto report = doctorReport(facts);
  fmt::print("{}", json ? jsonText(doctorJson(report)) + "\n" : doctorText(report));
  return hasProblem(report) ? exit_status::failed : exit_status::done;
}

}  // namespace
}  // namespace tallyfox::linux_os

int main(int argc, char** argv) {
  using namespace tallyfox::linux_os;
  std::signal(SIGPIPE, SIG_IGN);
  const auto commandLine = CommandLine::parsed(std::vector<std::string>(argv + 1, argv + argc));
  if (!commandLine) {
    fmt::print(stderr, "tallyfox: {} See tallyfox --help.\n", commandLine.error());
    return exit_status::usage;
  }
  switch (commandLine->purpose) {
    case CommandLine::Purpose::showHelp:
      fmt::print("{}", usageText());
      return exit_status::done;
    case CommandLine::Purpose::showVersion:
      fmt::print("tallyfox {}\n", TALLYFOX_VERSION);
      return exit_status::done;
    case CommandLine::Purpose::askAgent: {
      ProcessEnvironment environment;
      return askAgent(*commandLine, UserDirectories::from(environment));
    }
    case CommandLine::Purpose::examine:
      return examine(commandLine->json);
    case CommandLine::Purpose::runAgent:
      return run(argv);
  }
  return exit_status::usage;
}
