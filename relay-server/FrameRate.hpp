#pragma once

#include <algorithm>

#include "TokenBucket.hpp"

namespace tallyfox::server {

/// How many frames a peer may send, and how many bytes of them.
struct FrameRateLimit {
  Rate frames;
  Rate bytes;
};

/// What one socket has left of it.
class FrameRate {
 public:
  FrameRate(const FrameRateLimit& limit, TokenBucket::Time now)
      : frames_(limit.frames, now), bytes_(limit.bytes, now) {}

  /// How far the peer is beyond its rates with this frame: the time that it should have waited; zero within them.
  [[nodiscard]] TokenBucket::Wait excess(std::size_t bytes, TokenBucket::Time now) {
    const auto forFrames = frames_.take(1, now);
    return std::max(forFrames, bytes_.take(static_cast<double>(bytes), now));
  }

 private:
  TokenBucket frames_;
  TokenBucket bytes_;
};

}  // namespace tallyfox::server
