#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <span>

namespace tallyfox::server {

/// How often a thing took how long. Observing costs a few comparisons; for one thread.
class Histogram {
 public:
  using Duration = std::chrono::nanoseconds;
  static constexpr std::size_t greatestBounds = 15;

  /// `upperBounds` ascend, are `greatestBounds` at most, and outlive this.
  explicit Histogram(std::span<const Duration> upperBounds) : bounds_(upperBounds) {}

  void observe(Duration taken) {
    std::size_t index = 0;
    while (index < bounds_.size() && taken > bounds_[index])
      ++index;
    ++counts_[index];
    sum_ += taken;
  }

  [[nodiscard]] std::span<const Duration> bounds() const { return bounds_; }
  /// What took longer than the bound before `index` and at most its own; the last has no bound.
  [[nodiscard]] std::uint64_t count(std::size_t index) const { return counts_[index]; }
  [[nodiscard]] Duration sum() const { return sum_; }

 private:
  std::span<const Duration> bounds_;
  std::array<std::uint64_t, greatestBounds + 1> counts_{};
  Duration sum_{};
};

/// Observes how long it lives.
class StopWatch {
 public:
  explicit StopWatch(Histogram& histogram) : histogram_(histogram) {}
  ~StopWatch() { histogram_.observe(std::chrono::steady_clock::now() - start_); }
  StopWatch(const StopWatch&) = delete;
  StopWatch& operator=(const StopWatch&) = delete;

 private:
  Histogram& histogram_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// From a memory access to a disk that is slow to answer.
inline constexpr std::array<Histogram::Duration, 14> workBounds{
    std::chrono::microseconds(5),   std::chrono::microseconds(10),   std::chrono::microseconds(25),
    std::chrono::microseconds(50),  std::chrono::microseconds(100),  std::chrono::microseconds(250),
    std::chrono::microseconds(500), std::chrono::microseconds(1000), std::chrono::microseconds(2500),
    std::chrono::milliseconds(5),   std::chrono::milliseconds(10),   std::chrono::milliseconds(50),
    std::chrono::milliseconds(250), std::chrono::milliseconds(1000)};
/// From loopback to a bad mobile network.
inline constexpr std::array<Histogram::Duration, 12> networkBounds{
    std::chrono::microseconds(250),  std::chrono::milliseconds(1),    std::chrono::microseconds(2500),
    std::chrono::milliseconds(5),    std::chrono::milliseconds(10),   std::chrono::milliseconds(25),
    std::chrono::milliseconds(50),   std::chrono::milliseconds(100),  std::chrono::milliseconds(250),
    std::chrono::milliseconds(1000), std::chrono::milliseconds(2500), std::chrono::milliseconds(10'000)};

}  // namespace tallyfox::server
