// The agent over a desktop in memory: a full scan of many windows, the part of it that is not reading, a list that is
// published again and one that has changed, and a phone's decision until the button is pressed.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "SampleApprovals.hpp"
#include "app/AgentWorld.hpp"
#include "app/AppDelegate.hpp"
#include "app/TestPhone.hpp"
#include "base/Limits.hpp"
#include "detection/ApprovalBuilder.hpp"
#include "detection/DetectorDesktop.hpp"
#include "relay/RelayClient.hpp"

namespace tallyfox {
namespace {

/// So many prompts of as many programs as would have them.
struct Windows : memory::DetectorDesktop {
  explicit Windows(std::int64_t count) {
    constexpr std::int64_t windowsOfOne = 10;
    std::int32_t pid = 0;
    for (std::int64_t number = 0; number < count; ++number) {
      if (number % windowsOfOne == 0) pid = desktop.launch("Program " + std::to_string(number));
      const std::string item = std::to_string(number);
      desktop.openWindow(
          pid, memory::messageBox("Delete " + item,
                                  {"Are you sure you want to delete item " + item + "?", "It cannot be brought back."},
                                  {"Cancel", "Delete"}));
    }
  }
};

void countWindows(benchmark::State& state) {
  state.SetComplexityN(state.range(0));
  state.counters["per window"] = benchmark::Counter(
      static_cast<double>(state.range(0)), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void scan(benchmark::State& state) {
  Windows windows(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(windows.detector.scan());
  countWindows(state);
}
BENCHMARK(scan)->Arg(1)->Arg(20)->Arg(200)->Arg(2000)->Complexity(benchmark::oN)->Unit(benchmark::kMicrosecond);

/// What a scan does with windows once they are read.
void scanWithoutReading(benchmark::State& state) {
  Windows windows(state.range(0));
  const AXHelpers helpers(windows.desktop.accessibility(), windows.desktop.elements());
  const PromptReader reader(helpers);
  std::vector<std::pair<WindowSource, PromptContent>> read;
  GatheredWindows gathered = WindowSources(helpers, windows.desktop.applications(), windows.desktop.windowList())
                                 .gather(PromptReader::attributes(), limits::contentDescendants);
  for (WindowSource& source : gathered.sources) {
    PromptContent content = reader.read(source.window, reader.contentElement(source.window));
    read.emplace_back(std::move(source), std::move(content));
  }
  PromptCandidateGate gate;
  for (auto _ : state) {
    std::vector<PendingApproval> approvals;
    std::unordered_set<Uuid> ids;
    for (const auto& [source, content] : read) {
      auto approval = ApprovalBuilder::approval(source, content, windows.time.clock().now());
      if (approval && !windows.suppressed.contains(approval->suppressionID) && ids.insert(approval->id).second)
        approvals.push_back(*std::move(approval));
    }
    const auto publishable = gate.publishableIDs(ids);
    std::erase_if(approvals, [&](const PendingApproval& approval) { return !publishable.contains(approval.id); });
    benchmark::DoNotOptimize(approvals);
  }
  countWindows(state);
}
BENCHMARK(scanWithoutReading)
    ->Arg(1)
    ->Arg(20)
    ->Arg(200)
    ->Arg(2000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMicrosecond);

/// A client with an open socket.
struct Connection {
  Connection() {
    client->connect();
    time.runDue();
    network.open(0);
    time.runDue();
  }
  void publish(const std::vector<PendingApproval>& approvals) {
    client->publishSnapshot(approvals, true, false);
    time.runDue();
    network.forgetFrames();
  }
  memory::VirtualTime time;
  memory::MemoryConsole console;
  memory::MemoryNetwork network{time.makeQueue("network")};
  std::shared_ptr<RelayClient> client = RelayClient::make(
      {.transport = network.webSockets(), .queue = time.makeQueue("client"), .clock = time.clock(), .console = console},
      {.url = "wss://relay.example.com/agent", .relaySecret = "token", .cryptoSecret = "secret"},
      {.onApprovalRequest = [](const ApprovalRequestEnvelope&) {},
       .onSuppressionCommand = [](const ApprovalSuppressionCommand&) {},
       .onStatusChange = [](const RelayConnectionStatus&) {}});
};

void publishUnchanged(benchmark::State& state) {
  Connection connection;
  const auto approvals = sampleApprovals(static_cast<std::size_t>(state.range(0)));
  connection.publish(approvals);
  for (auto _ : state)
    connection.publish(approvals);
}
BENCHMARK(publishUnchanged)->Arg(1)->Arg(10)->Unit(benchmark::kMicrosecond);

void publishChanged(benchmark::State& state) {
  Connection connection;
  const auto approvals = sampleApprovals(static_cast<std::size_t>(state.range(0)));
  auto fewer = approvals;
  fewer.pop_back();
  bool isWhole = false;
  for (auto _ : state) {
    isWhole = !isWhole;
    connection.publish(isWhole ? approvals : fewer);
  }
}
BENCHMARK(publishChanged)->Arg(1)->Arg(10)->Unit(benchmark::kMicrosecond);

/// From the frame that brings a decision to the press, with so many other dialogs on the screen. The waits that follow
/// a press are virtual and cost nothing here.
void decisionToPress(benchmark::State& state) {
  AgentWorld world;
  TestPhone phone(world);
  AppDelegate agent(world.platform(), world.interface);
  world.network.answerAll(HttpResponse{204});
  agent.applicationDidFinishLaunching();
  world.time.runDue();
  world.network.open(0);
  const auto pid = world.desktop.launch("Finder");
  for (std::int64_t number = 1; number < state.range(0); ++number)
    world.desktop.openWindow(
        pid, memory::messageBox("Other " + std::to_string(number), {"Are you sure you want to go?"}, {"Cancel", "OK"}));
  int decision = 0;
  for (auto _ : state) {
    state.PauseTiming();
    world.desktop.openWindow(
        pid, memory::messageBox("Finder", {"Are you sure you want to delete it?"}, {"Cancel", "Delete"}));
    world.time.advance(Seconds(20));
    const auto approvals = phone.approvals();
    const auto found = std::ranges::find(approvals, "Finder", &PendingApproval::windowTitle);
    if (found == approvals.end()) return state.SkipWithError("the dialog was not published");
    const std::size_t presses = world.desktop.presses().size();
    phone.request("d-" + std::to_string(++decision), found->id, "Delete");
    state.ResumeTiming();
    const bool isPressed =
        world.time.advanceUntil([&] { return world.desktop.presses().size() > presses; }, Seconds(1));
    if (!isPressed) return state.SkipWithError("the button was not pressed");
    state.PauseTiming();
    world.time.advance(Seconds(20));
    world.forget();
    state.ResumeTiming();
  }
}
BENCHMARK(decisionToPress)->Arg(1)->Arg(20)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tallyfox
