// Runs seeds of the simulation by hand and tells what came of them: simulate FIRST [COUNT [DAYS]]. A single seed is
// told as it happens; with DAYS each seed lives for so long, at a slower pace.

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>

#include "sim/harness/Simulation.hpp"

namespace {

using tallyfox::sim::Outcome;
using tallyfox::sim::Random;
using tallyfox::sim::Scenario;
using tallyfox::sim::Simulation;

/// At its own pace, or at that of so many days.
Outcome outcomeOf(std::uint64_t seed, std::uint64_t days, bool isTold) {
  Random random(seed);
  const Scenario scenario = Scenario::of(random);
  Simulation simulation(seed, days == 0 ? scenario : scenario.ofDays());
  if (isTold) simulation.listen([](const std::string& sentence) { fmt::print("{}\n", sentence); });
  return days == 0 ? simulation.run() : simulation.run(std::chrono::days(days));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 4) {
    fmt::print(stderr, "usage: simulate FIRST [COUNT [DAYS]]\n");
    return 2;
  }
  const auto argument = [&](int number, std::uint64_t otherwise) -> std::uint64_t {
    return number < argc ? std::strtoull(argv[number], nullptr, 10) : otherwise;
  };
  const std::uint64_t first = argument(1, 0);
  const std::uint64_t count = argument(2, 1);
  Outcome total;
  std::uint64_t failed = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    const Outcome outcome = outcomeOf(seed, argument(3, 0), count == 1);
    total.simulated += outcome.simulated;
    total.dialogs += outcome.dialogs;
    total.touches += outcome.touches;
    total.answers += outcome.answers;
    total.accepted += outcome.accepted;
    if (outcome.failures.empty()) continue;
    ++failed;
    fmt::print("simulate {}: {}\n", seed, outcome.failures.front());
  }
  fmt::print("{} seeds, {:.1f} simulated hours, {} dialogs, {} touches, {} answers, {} accepted: {} failed\n", count,
             total.simulated.count() / 3600, total.dialogs, total.touches, total.answers, total.accepted, failed);
  return failed == 0 ? 0 : 1;
}
