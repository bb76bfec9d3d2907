// Events become debounced scan requests with the last reason of a burst, and settled follow-ups after the last event;
// the monitor observes what is worth scanning, never the agent, and nothing once stopped.

#include "detection/DialogEventMonitor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

using memory::accessPrompt;
using memory::ElementID;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

using Call = std::pair<double, std::string>;

struct DialogEventMonitorTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  Seconds pollInterval{std::numeric_limits<double>::infinity()};
  std::vector<Call> calls;
  Seconds origin{};
  std::unique_ptr<DialogEventMonitor> monitor = make(Seconds{0.35});

  std::unique_ptr<DialogEventMonitor> make(Seconds debounce) {
    return std::make_unique<DialogEventMonitor>(
        DialogEventMonitor::Dependencies{*world.mainQueue, desktop.observers(), desktop.applications(),
                                         desktop.windowList(), [this] { return pollInterval; }},
        debounce, [this](const std::string& reason) { calls.emplace_back(sinceOrigin(), reason); });
  }
  [[nodiscard]] double sinceOrigin() {
    return std::round((world.time.clock().continuous() - origin).count() * 1000) / 1000;
  }
  /// Started, its first requests over; times are told from now on.
  void startAndSettle() {
    monitor->start();
    world.time.advance(Seconds{3});
    calls.clear();
    origin = world.time.clock().continuous();
  }
  [[nodiscard]] std::vector<std::string> reasons() const {
    std::vector<std::string> made;
    for (const Call& call : calls)
      made.push_back(call.second);
    return made;
  }
};

TEST_F(DialogEventMonitorTest, requestsAScanWhenStarted) {
  monitor->start();
  EXPECT_TRUE(monitor->isStarted());
  world.time.advance(Seconds{10});
  EXPECT_THAT(calls, ElementsAre(Call(0.35, "prompt-monitor-started")));
}

TEST_F(DialogEventMonitorTest, startsOnce) {
  startAndSettle();
  monitor->start();
  world.time.advance(Seconds{3});
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(DialogEventMonitorTest, debouncesNoShorterThanFiftyMilliseconds) {
  for (const double debounce : {0.0, -1.0, 0.049, std::numeric_limits<double>::quiet_NaN()}) {
    monitor = make(Seconds{debounce});
    calls.clear();
    origin = world.time.clock().continuous();
    monitor->requestScan("event");
    world.time.advance(Seconds{1});
    EXPECT_THAT(calls, ElementsAre(Call(0.05, "event"))) << debounce;
  }
}

TEST_F(DialogEventMonitorTest, turnsABurstIntoOneCallWithTheLastReason) {
  for (int i = 0; i < 10; ++i) {
    monitor->requestScan("event " + std::to_string(i));
    world.time.advance(Seconds{0.1});
  }
  world.time.advance(Seconds{5});
  EXPECT_THAT(calls, ElementsAre(Call(1.25, "event 9")));
}

TEST_F(DialogEventMonitorTest, followsUpAfterTheLastRequestOnly) {
  for (int i = 0; i < 10; ++i) {
    monitor->requestFollowUpScans("settled " + std::to_string(i));
    world.time.advance(Seconds{0.5});
  }
  world.time.advance(Seconds{5});
  EXPECT_THAT(calls, ElementsAre(Call(5.3, "settled 9"), Call(6.5, "settled 9")));
}

TEST_F(DialogEventMonitorTest, namesTheNineNotificationsInOrder) {
  EXPECT_THAT(DialogEventMonitor::observedNotifications(),
              ElementsAre("AXWindowCreated", "AXSheetCreated", "AXMainWindowChanged", "AXFocusedWindowChanged",
                          "AXApplicationActivated", "AXTitleChanged", "AXWindowMiniaturized", "AXWindowDeminiaturized",
                          "AXUIElementDestroyed"));
}

TEST_F(DialogEventMonitorTest, turnsEachNotificationIntoARequestAndFollowUps) {
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  for (const std::string& name : DialogEventMonitor::observedNotifications()) {
    calls.clear();
    origin = world.time.clock().continuous();
    desktop.postNotification(pid, name);
    world.time.advance(Seconds{3});
    EXPECT_THAT(calls, ElementsAre(Call(0.35, name), Call(0.8, name + "-settled"), Call(2.0, name + "-settled")));
  }
}

TEST_F(DialogEventMonitorTest, turnsEachWorkspaceEventIntoARequestAndFollowUps) {
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  using Kind = WorkspaceEventKind;
  const std::vector<std::pair<Kind, std::string>> table = {
      {Kind::launched, "application-launched"},   {Kind::terminated, "application-terminated"},
      {Kind::activated, "application-activated"}, {Kind::hidden, "application-hidden"},
      {Kind::unhidden, "application-unhidden"},   {Kind::activeSpaceChanged, "active-space-changed"}};
  for (const auto& [kind, reason] : table) {
    calls.clear();
    origin = world.time.clock().continuous();
    desktop.postWorkspaceEvent({kind, kind == Kind::activeSpaceChanged ? 0 : pid});
    world.time.advance(Seconds{3});
    EXPECT_THAT(calls, ElementsAre(Call(0.35, reason), Call(0.8, reason + "-settled"), Call(2.0, reason + "-settled")));
  }
}

TEST_F(DialogEventMonitorTest, observesApplicationsLaunchedLater) {
  startAndSettle();
  const auto pid = desktop.launch("Notes");
  world.time.advance(Seconds{3});
  calls.clear();
  desktop.postNotification(pid, "AXTitleChanged");
  world.time.advance(Seconds{0.5});
  EXPECT_THAT(reasons(), ElementsAre("AXTitleChanged"));
}

TEST_F(DialogEventMonitorTest, observesEachApplicationOnce) {
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  for (int i = 0; i < 3; ++i)
    monitor->refreshApplications();
  desktop.postNotification(pid, "AXTitleChanged");
  world.time.advance(Seconds{3});
  EXPECT_THAT(reasons(), ElementsAre("AXTitleChanged", "AXTitleChanged-settled", "AXTitleChanged-settled"));
}

TEST_F(DialogEventMonitorTest, forgetsAnApplicationThatTerminated) {
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  desktop.quit(pid);
  world.time.advance(Seconds{3});
  calls.clear();
  desktop.postNotification(pid, "AXTitleChanged");
  world.time.advance(Seconds{3});
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(DialogEventMonitorTest, neverObservesTheAgentItself) {
  const auto own = desktop.applications().ownProcessIdentifier();
  startAndSettle();
  desktop.openWindow(own, accessPrompt());
  world.time.advance(Seconds{3});
  EXPECT_THAT(reasons(), Not(Contains("AXWindowCreated")));
}

TEST_F(DialogEventMonitorTest, noticesWindowsThatNoEventTellsOf) {
  pollInterval = Seconds{2};
  const auto pid = desktop.launch("Notes");
  const ElementID window = desktop.openWindow(pid, accessPrompt());
  startAndSettle();
  world.time.advance(Seconds{3});
  calls.clear();
  origin = world.time.clock().continuous();
  world.time.advance(Seconds{20});
  EXPECT_THAT(calls, IsEmpty());
  desktop.setFrame(window, DialogFrame{401, 300, 420, 180});
  world.time.advance(Seconds{6});
  EXPECT_THAT(reasons(), ElementsAre("visible-window-owners-changed", "visible-window-owners-settled",
                                     "visible-window-owners-settled"));
}

TEST_F(DialogEventMonitorTest, ignoresFaintWindowsWhilePolling) {
  pollInterval = Seconds{2};
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  const ElementID window = desktop.openWindow(pid, accessPrompt());
  desktop.setWindowAlpha(window, 0.01);
  world.time.advance(Seconds{10});
  EXPECT_THAT(reasons(), Not(Contains("visible-window-owners-changed")));
}

TEST_F(DialogEventMonitorTest, neverPollsAtAnInfiniteInterval) {
  desktop.openWindow(desktop.launch("Notes"), accessPrompt());
  startAndSettle();
  world.time.advance(Seconds{100000});
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(DialogEventMonitorTest, doesNothingOnceStopped) {
  pollInterval = Seconds{2};
  const auto pid = desktop.launch("Notes");
  monitor->start();
  monitor->requestFollowUpScans("settled");
  monitor->stop();
  EXPECT_FALSE(monitor->isStarted());
  desktop.openWindow(pid, accessPrompt());
  desktop.postWorkspaceEvent({WorkspaceEventKind::activeSpaceChanged, 0});
  world.time.advance(Seconds{10});
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
}

TEST_F(DialogEventMonitorTest, startsAgainAfterAStop) {
  pollInterval = Seconds{2};
  const auto pid = desktop.launch("Notes");
  desktop.openWindow(pid, accessPrompt());
  startAndSettle();
  monitor->stop();
  monitor->start();
  world.time.advance(Seconds{2.4});
  // The polled windows count as unseen again.
  EXPECT_THAT(reasons(), ElementsAre("prompt-monitor-started", "visible-window-owners-changed"));
}

TEST_F(DialogEventMonitorTest, worksWithoutTrustFromWorkspaceEvents) {
  desktop.setTrusted(false);
  const auto pid = desktop.launch("Notes");
  startAndSettle();
  desktop.postWorkspaceEvent({WorkspaceEventKind::activated, pid});
  world.time.advance(Seconds{0.5});
  EXPECT_THAT(reasons(), ElementsAre("application-activated"));
}

TEST_F(DialogEventMonitorTest, mayEndInsideItsCallback) {
  std::unique_ptr<DialogEventMonitor> ending;
  int delivered = 0;
  ending = std::make_unique<DialogEventMonitor>(
      DialogEventMonitor::Dependencies{*world.mainQueue, desktop.observers(), desktop.applications(),
                                       desktop.windowList(), [this] { return pollInterval; }},
      Seconds{0.1}, [&](const std::string&) {
        ++delivered;
        ending.reset();
      });
  ending->start();
  ending->requestFollowUpScans("settled");
  world.time.advance(Seconds{5});
  EXPECT_EQ(delivered, 1);
  EXPECT_EQ(ending, nullptr);
}

}  // namespace
}  // namespace tallyfox
