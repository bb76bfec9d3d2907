#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "desktop/BusMonitor.hpp"
#include "desktop/X11TestClient.hpp"
#include "scenes/InstalledAgent.hpp"
#include "scenes/KnownPaths.hpp"
#include "scenes/Scenes.hpp"

namespace tallyfox::bench {
namespace {

using testing::BusMessage;

constexpr std::uint32_t symbolOfA = 'a';
constexpr int lettersToType = 25;
constexpr const char* synchronousCall = "NotifyListenersSync";

/// After so long without a word from the agent, no scan is due any more.
constexpr Seconds quietTime{10};

void pass(Seconds time) {
  std::this_thread::sleep_for(time);
}

std::size_t count(const std::vector<BusMessage>& messages, const std::string& member) {
  return static_cast<std::size_t>(std::ranges::count(messages, member, &BusMessage::member));
}

/// Types into the line of the busy window, which has the focus, and waits until all of it has arrived there.
void type(testing::X11TestClient& keyboard, Program& window) {
  for (int letter = 0; letter < lettersToType; ++letter) {
    keyboard.fakeKey(symbolOfA, true);
    keyboard.fakeKey(symbolOfA, false);
  }
  for (int letter = 0; letter < lettersToType; ++letter)
    (void)window.await("typed ", Seconds(10));
}

/// Wakes the accessibility bridge of a program as a listening program would, so that keys are told to listeners as long
/// as the connection lasts.
linux_os::SdBusHandle wokenBridge(const std::string& address, const std::string& busName) {
  auto bus = linux_os::connectedBus(address, std::chrono::seconds(5));
  if (!bus) throw std::runtime_error(bus.error());
  const std::string root(linux_os::atspiRootPath);
  if (sd_bus_call_method(bus->get(), busName.c_str(), root.c_str(), "org.a11y.atspi.Application",
                         "GetApplicationBusAddress", nullptr, nullptr, "") < 0)
    throw std::runtime_error("the busy window has no bridge to wake");
  return std::move(*bus);
}

bool isWith(const BusMessage& message, const std::set<std::string>& names) {
  return names.contains(message.sender) || names.contains(message.receiver);
}

/// Waits until the agent has nothing more to ask after its start. What it said until then.
std::vector<BusMessage> awaitQuiet(const InstalledAgent& agent, testing::BusMonitor& monitor) {
  std::vector<BusMessage> said;
  for (int time = 0; time < 10; ++time) {
    pass(quietTime);
    const std::set<std::string> names = monitor.namesOf(agent.pid());
    const std::vector<BusMessage> heard = monitor.take();
    const bool isQuiet = std::ranges::none_of(heard, [&](const BusMessage& message) { return isWith(message, names); });
    if (isQuiet && !said.empty()) return said;
    said.insert(said.end(), heard.begin(), heard.end());
  }
  throw std::runtime_error("the agent asks without end");
}

struct IdleTime {
  double seconds = 0;
  double processorMilliseconds = 0;
  std::map<std::string, double> waits;
  std::vector<BusMessage> messages;
};

IdleTime spendIdleTime(const InstalledAgent& agent, testing::BusMonitor& monitor, Seconds length) {
  IdleTime idle;
  (void)monitor.take();
  const auto waitsBefore = agent.waits();
  const double processorBefore = agent.processorMilliseconds();
  const auto began = std::chrono::steady_clock::now();
  pass(length);
  idle.seconds = Seconds(std::chrono::steady_clock::now() - began).count();
  idle.processorMilliseconds = agent.processorMilliseconds() - processorBefore;
  for (const auto& [thread, waits] : agent.waits()) {
    const auto before = waitsBefore.find(thread);
    idle.waits[thread] = static_cast<double>(waits - (before == waitsBefore.end() ? 0 : before->second));
  }
  idle.messages = monitor.take();
  return idle;
}

void reportIdleTime(const IdleTime& idle, const std::set<std::string>& names, Report& report) {
  double waits = 0;
  for (const auto& [thread, count] : idle.waits) {
    waits += count;
    if (count > 0) report.figure("waits a second of thread " + thread, count / idle.seconds, "");
  }
  const auto withAgent =
      std::ranges::count_if(idle.messages, [&](const BusMessage& message) { return isWith(message, names); });
  report.note(fmt::format("{} messages on the accessibility bus in {:.0f} s", idle.messages.size(), idle.seconds));
  report.figure("waits a second in all (a poll waits for many answers)", waits / idle.seconds, "");
  report.atMost("messages on the accessibility bus with the agent", static_cast<double>(withAgent), 0);
  report.atMost("processor, % of a core", idle.processorMilliseconds / idle.seconds / 10, 0.2);
}

}  // namespace

void measureIdleAgent(const Options& options, Report& report) {
  report.heading("Scene D: the installed agent, 20 question dialogs, a program at work, nobody asks anything");
  QuestionDesktop desktop;
  const KnownPaths knownPaths(desktop.session.sessionBusAddress());
  testing::BusMonitor monitor(knownPaths.accessibilityBusAddress());
  // Looked up on the private desktop's path, where the system's own Python knows GTK.
  Program busy(desktop.session, {"env", "python3", "-B", TALLYFOX_BUSY_WINDOW});
  (void)busy.await("ready", Seconds(30));
  (void)monitor.take();
  auto agent = std::make_unique<InstalledAgent>(desktop.session);
  const std::vector<BusMessage> startUp = awaitQuiet(*agent, monitor);
  const std::set<std::string> names = monitor.namesOf(agent->pid());
  if (names.empty()) throw std::runtime_error("the agent is not on the accessibility bus");
  const IdleTime idle = spendIdleTime(*agent, monitor, options.idleTime);
  reportIdleTime(idle, names, report);
  const auto made = [&](std::string_view member) {
    return static_cast<double>(std::ranges::count_if(startUp, [&](const BusMessage& message) {
      return names.contains(message.sender) && message.member == member;
    }));
  };
  report.atMost("listeners registered by the agent", made("RegisterEvent") + made("GetApplicationBusAddress"), 0);
  report.figure("match rules of the agent (the registry tells of programs that come)", made("AddMatch"), "");

  testing::X11TestClient keyboard(desktop.session.display());
  type(keyboard, busy);
  report.atMost(fmt::format("{} for {} letters, agent running", synchronousCall, lettersToType),
                static_cast<double>(count(monitor.take(), synchronousCall)), 0);
  agent.reset();

  // Without this, silence would prove nothing.
  std::vector<linux_os::SdBusHandle> listeners;
  for (const std::string& name : monitor.namesOf(busy.pid()))
    listeners.push_back(wokenBridge(knownPaths.accessibilityBusAddress(), name));
  (void)monitor.take();
  type(keyboard, busy);
  const std::size_t woken = count(monitor.take(), synchronousCall);
  if (woken == 0) throw std::runtime_error("a woken bridge tells nobody of keys: the count above proves nothing");
  report.figure("the same when a listening program has woken the window", static_cast<double>(woken), "calls");
}

}  // namespace tallyfox::bench
