#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace tallyfox::sim {

/// One seed's stream of choices; the same on every machine.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// 0 to count - 1.
  std::size_t pick(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
  bool chance(double probability) { return unit() < probability; }
  double between(double low, double high) { return low + unit() * (high - low); }
  template <typename Container>
  auto& one(Container& container) {
    return *std::next(container.begin(), static_cast<std::ptrdiff_t>(pick(container.size())));
  }
  /// For choices that must not shift those that follow.
  Random fork() { return Random(engine_()); }

 private:
  double unit() { return static_cast<double>(engine_() >> 11) * 0x1.0p-53; }
  std::mt19937_64 engine_;
};

}  // namespace tallyfox::sim
