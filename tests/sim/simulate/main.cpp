// Runs seeds of the simulation by hand and tells what came of them: simulate FIRST [COUNT]. A single seed is told as it
// happens.

#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>

#include "sim/harness/Simulation.hpp"

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    fmt::print(stderr, "usage: simulate FIRST [COUNT]\n");
    return 2;
  }
  const std::uint64_t first = std::strtoull(argv[1], nullptr, 10);
  const std::uint64_t count = argc == 3 ? std::strtoull(argv[2], nullptr, 10) : 1;
  tallyfox::sim::Outcome total;
  std::uint64_t failed = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    tallyfox::sim::Simulation simulation(seed);
    if (argc == 2) simulation.listen([](const std::string& sentence) { fmt::print("{}\n", sentence); });
    const tallyfox::sim::Outcome outcome = simulation.run();
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
