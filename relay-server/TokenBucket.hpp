#pragma once

#include <algorithm>
#include <chrono>

namespace tallyfox::server {

/// How often a thing may be done, or how much of it: `burst` at once, and `perSecond` in the long run.
struct Rate {
  double burst = 0;
  double perSecond = 0;
};

/// What is left of a rate. Knows no clock: times are passed in and never go back.
class TokenBucket {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Wait = std::chrono::milliseconds;

  TokenBucket(Rate rate, Time now) : rate_(rate), tokens_(rate.burst), filledAt_(now) {}

  /// Takes what was done, also what is not there. How long until nothing is owed any more; zero within the rate.
  [[nodiscard]] Wait take(double amount, Time now) {
    const std::chrono::duration<double> passed = std::max(now - filledAt_, Time::duration::zero());
    tokens_ = std::min(rate_.burst, tokens_ + passed.count() * rate_.perSecond) - amount;
    filledAt_ = now;
    if (tokens_ >= 0) return Wait::zero();
    return std::chrono::ceil<Wait>(std::chrono::duration<double>(-tokens_ / rate_.perSecond));
  }

 private:
  Rate rate_;
  double tokens_;
  Time filledAt_;
};

}  // namespace tallyfox::server
