// Merging one scan into the store, for dialogs that it knows and for a screen whose dialogs are all new; the cost is
// to grow with the number of approvals and not faster.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "SampleApprovals.hpp"
#include "app/ApprovalStore.hpp"

namespace tallyfox {
namespace {

/// Stands still between scans.
class SetClock : public Clock {
 public:
  [[nodiscard]] Date now() const override { return moment; }
  [[nodiscard]] Seconds continuous() const override { return moment.time_since_epoch(); }
  void sleep(Seconds /*duration*/) override {}
  Date moment{};
};

void replaceKnown(benchmark::State& state) {
  SetClock clock;
  ApprovalStore store(Seconds(8), clock);
  const auto scanned = sampleApprovals(static_cast<std::size_t>(state.range(0)));
  store.replace(scanned);
  for (auto _ : state)
    store.replace(scanned);
  state.SetComplexityN(state.range(0));
}
BENCHMARK(replaceKnown)->Arg(10)->Arg(100)->Arg(1'000)->Complexity(benchmark::oN);

void replaceAll(benchmark::State& state) {
  SetClock clock;
  ApprovalStore store(Seconds(8), clock);
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::vector<PendingApproval> screens[] = {sampleApprovals(count), sampleApprovals(count)};
  std::size_t turn = 0;
  for (auto _ : state) {
    clock.moment += std::chrono::seconds(9);
    store.replace(screens[turn++ % 2]);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(replaceAll)->Arg(10)->Arg(100)->Arg(1'000)->Complexity(benchmark::oN);

void listAll(benchmark::State& state) {
  SetClock clock;
  ApprovalStore store(Seconds(8), clock);
  store.replace(sampleApprovals(static_cast<std::size_t>(state.range(0))));
  for (auto _ : state)
    benchmark::DoNotOptimize(store.all());
}
BENCHMARK(listAll)->Arg(10)->Arg(1'000);

}  // namespace
}  // namespace tallyfox
