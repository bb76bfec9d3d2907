// Seeded random runs of the whole agent: dialogs come and go, programs misbehave, the relay and the permission fail,
// the phone asks for this and that. Whatever happens, only what was asked for is pressed, "accepted" means gone, scans
// do not overlap, and once the world is at rest the phone shows exactly the dialogs that are open.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/Agent.hpp"

namespace tallyfox::sim {
namespace {

using memory::ElementID;
using memory::Fault;

constexpr std::uint32_t seedsOfABatch = 10;
constexpr int steps = 60;

/// Counts the tasks that are posted and not yet done.
class CountingQueue : public SerialQueue {
 public:
  explicit CountingQueue(SerialQueue& queue) : queue_(queue) {}
  void post(Task task) override {
    ++waiting_;
    most = std::max(most, waiting_);
    queue_.post([this, task = std::move(task)]() mutable {
      task();
      --waiting_;
    });
  }
  ScheduledHandle after(Seconds delay, Task task) override { return queue_.after(delay, std::move(task)); }
  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    return queue_.every(period, std::move(task));
  }
  [[nodiscard]] bool isCurrent() const override { return queue_.isCurrent(); }

  int most = 0;

 private:
  SerialQueue& queue_;
  int waiting_ = 0;
};

struct Dialog {
  ElementID window = 0;
  std::vector<std::string> labels;
};

struct Request {
  std::string title;
  std::string label;
};

class RandomRun {
 public:
  explicit RandomRun(std::uint32_t seed) : random_(seed) {
    agent_.delegate = std::make_unique<AppDelegate>(platform(), agent_.world.interface);
    agent_.start();
    for (const char* name : {"Finder", "Installer", "Editor"})
      applications_.push_back(desktop().launch(name));
  }

  void step() {
    switch (pick(12)) {
      case 0:
      case 1:
      case 2:
        open();
        break;
      case 3:
        close();
        break;
      case 4:
      case 5:
      case 6:
        request();
        break;
      case 7:
        misbehave();
        break;
      case 8:
        desktop().setTrusted(pick(3) != 0);
        break;
      case 9:
        suppress();
        break;
      case 10:
        loseOrRegainTheRelay();
        break;
      default:
        break;
    }
    if (pick(4) == 0) heal();
    agent_.world.time.advance(Seconds(static_cast<double>(pick(40)) / 10));
    check();
  }

  void comeToRest() {
    heal();
    // Requests that still wait are carried out, and what they close is gone for longer than its grace.
    for (int round = 0; round < 4; ++round) {
      agent_.world.time.advance(Seconds(10));
      connect();
    }
    // A look at the screen and one to confirm it, after whatever was the last change.
    const ElementID nudge = desktop().openWindow(applications_[0], {.role = "AXWindow"});
    agent_.world.time.advance(Seconds(12));
    desktop().closeWindow(nudge);
    agent_.world.time.advance(Seconds(12));
    check();

    std::set<std::string> open;
    for (const auto& [title, dialog] : dialogs_) {
      if (desktop().exists(dialog.window) && !suppressed_.contains(title)) open.insert(title);
    }
    std::set<std::string> shown;
    for (const PendingApproval& approval : agent_.phone.approvals())
      shown.insert(approval.windowTitle);
    EXPECT_EQ(shown, open);
    EXPECT_EQ(agent_.world.interface.shownCount(), static_cast<std::int64_t>(open.size()));
  }

  void end() {
    agent_.delegate->applicationWillTerminate();
    agent_.world.time.runDue();
    EXPECT_EQ(agent_.world.time.pendingTaskCount(), 0U);
  }

  std::size_t acceptedCount = 0;
  std::size_t pressCount = 0;

 private:
  memory::MemoryDesktop& desktop() { return agent_.world.desktop; }
  AgentPlatform platform() {
    const AgentPlatform given = agent_.world.platform();
    return {given.mainQueue,
            scanQueue_,
            given.makeQueue,
            given.clock,
            given.console,
            given.environment,
            given.accessibility,
            given.accessibilityElements,
            given.accessibilityObservers,
            given.applications,
            given.windowList,
            given.syntheticInput,
            given.webSockets,
            given.http,
            given.keychain,
            given.defaults,
            given.bundle,
            given.instanceLock,
            given.notifications,
            given.terminateApplication};
  }
  std::size_t pick(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }
  template <typename Container>
  const auto& one(const Container& container) {
    return *std::next(container.begin(), static_cast<std::ptrdiff_t>(pick(container.size())));
  }

  /// Titles and most labels belong to one dialog alone, so that a press tells which dialog it hit.
  void open() {
    const std::string number = std::to_string(++opened_);
    const std::vector<std::vector<std::string>> choices = {{"Keep " + number, "Erase " + number},
                                                           {"Cancel", "Erase " + number},
                                                           {"Cancel", "OK"},
                                                           {"Later " + number, "Delete"}};
    const std::string line =
        pick(4) == 0 ? "Enter your password to go on." : "Are you sure you want to delete item " + number + "?";
    const double x = 50 + 40.0 * static_cast<double>(pick(20));
    const std::vector<std::string> labels = one(choices);
    const ElementID window = desktop().openWindow(
        one(applications_), memory::messageBox("Dialog " + number, {line}, labels, {x, 100, 420, 180}));
    dialogs_["Dialog " + number] = {window, labels};
  }

  void close() {
    if (dialogs_.empty()) return;
    const ElementID window = one(dialogs_).second.window;
    if (desktop().exists(window)) desktop().closeWindow(window);
  }

  /// Mostly for a dialog that the phone shows, sometimes for one that it has never heard of or under a wrong label.
  void request() {
    const auto approvals = agent_.phone.approvals();
    if (approvals.empty()) return;
    const PendingApproval& approval = one(approvals);
    const std::string label = pick(8) == 0 ? "Erase everything" : one(approval.buttonLabels());
    const std::string decision = "d-" + std::to_string(requests_.size());
    requests_[decision] = {approval.windowTitle, label};
    agent_.phone.request(decision, pick(8) == 0 ? Uuid::random() : approval.id, label);
  }

  void misbehave() {
    const std::int32_t application = one(applications_);
    const std::vector<Fault> faults = {Fault::none, Fault::none, Fault::hang, Fault::refuseActions,
                                       Fault::ignoreActions};
    desktop().setFault(application, one(faults));
    desktop().heed(application, pick(3) != 0, pick(2) != 0, pick(2) != 0);
  }

  /// Everything works again, so that decisions are carried out and not only refused.
  void heal() {
    desktop().setTrusted(true);
    for (const std::int32_t application : applications_) {
      desktop().setFault(application, Fault::none);
      desktop().heed(application, true, true, true);
    }
    connect();
  }

  void suppress() {
    const auto approvals = agent_.phone.approvals();
    if (approvals.empty() || !agent_.world.network.sockets().back().isOpen) return;
    const PendingApproval& approval = one(approvals);
    suppressed_.insert(approval.windowTitle);
    agent_.phone.suppress(approval.suppressionID);
  }

  void connect() {
    const std::size_t socket = agent_.phone.socket();
    if (!agent_.world.network.sockets()[socket].isOpen) agent_.world.network.open(socket);
  }

  void loseOrRegainTheRelay() {
    const std::size_t socket = agent_.phone.socket();
    if (!agent_.world.network.sockets()[socket].isOpen) return connect();
    // A suppression that is on its way counts: the far side delivers it before it goes.
    agent_.world.time.runDue();
    agent_.world.network.close(socket);
  }

  void check() {
    EXPECT_LE(scanQueue_.most, 1) << "scans overlap";
    std::set<std::string> requested;
    for (const auto& [decision, request] : requests_)
      requested.insert(request.label);
    for (; pressCount < desktop().presses().size(); ++pressCount) {
      EXPECT_TRUE(requested.contains(desktop().presses()[pressCount])) << desktop().presses()[pressCount];
    }
    const auto& sockets = agent_.world.network.sockets();
    readFrames_.resize(sockets.size());
    for (std::size_t socket = 0; socket < sockets.size(); ++socket) {
      for (const TestPhone::Result& result : agent_.phone.results(socket, readFrames_[socket])) {
        if (result.command.status != approval_status::accepted) continue;
        ++acceptedCount;
        EXPECT_FALSE(desktop().exists(dialogs_.at(requests_.at(result.decisionID).title).window)) << result.decisionID;
      }
      readFrames_[socket] = sockets[socket].sent.size();
    }
  }

  std::mt19937 random_;
  Agent agent_;
  CountingQueue scanQueue_{*agent_.world.scanQueue};
  std::vector<std::int32_t> applications_;
  std::map<std::string, Dialog> dialogs_;  ///< by title, closed ones too
  std::map<std::string, Request> requests_;
  std::set<std::string> suppressed_;
  std::vector<std::size_t> readFrames_;  ///< of each socket
  int opened_ = 0;
};

class RandomRuns : public testing::TestWithParam<std::uint32_t> {};

TEST_P(RandomRuns, keepTheAgentsPromises) {
  std::size_t accepted = 0;
  for (std::uint32_t i = 0; i < seedsOfABatch && !HasFailure(); ++i) {
    const std::uint32_t seed = GetParam() * seedsOfABatch + i;
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomRun run(seed);
    for (int step = 0; step < steps; ++step)
      run.step();
    run.comeToRest();
    run.end();
    accepted += run.acceptedCount;
  }
  RecordProperty("accepted", std::to_string(accepted));
  EXPECT_GT(accepted, seedsOfABatch) << "the runs decide too little to prove anything";
}

INSTANTIATE_TEST_SUITE_P(Batches, RandomRuns, testing::Range(0U, 20U));

}  // namespace
}  // namespace tallyfox::sim
