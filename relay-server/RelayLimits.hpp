#pragma once

#include <chrono>
#include <cstddef>

#include "base/Limits.hpp"

namespace tallyfox::server {

/// Every bound of the relay; tests tighten them.
struct RelayLimits {
  /// From accepting a connection to having its whole request.
  std::chrono::milliseconds requestTime{10'000};
  /// From the WebSocket handshake to the phone's hello.
  std::chrono::milliseconds helloTime{10'000};
  /// From deciding to close a socket to cutting it.
  std::chrono::milliseconds closeTime{5'000};
  std::chrono::milliseconds pingInterval{20'000};
  /// A peer that sent nothing, not even a pong, for so long is gone.
  std::chrono::milliseconds idleTime{60'000};

  /// A request line with all its headers; ours stay below 1 KiB.
  std::size_t headerBytes = 8U * 1024U;
  /// The one body there is has 28 bytes.
  std::size_t bodyBytes = 4U * 1024U;
  std::size_t agentFrameBytes = limits::frameBytes;
  /// Phones send sealed commands of a few hundred bytes.
  std::size_t phoneFrameBytes = 64U * 1024U;

  /// Waiting for one peer: four frames of the greatest size, or a burst of small ones.
  std::size_t outgoingBytes = 32U * 1024U * 1024U;
  std::size_t outgoingFrames = 256;
  /// All last snapshots together; beyond it the oldest is dropped, and its phones wait for the agent's next one.
  std::size_t snapshotBytes = 256U * 1024U * 1024U;

  std::size_t unauthenticatedConnections = 1024;
  std::size_t phonesPerPairing = 16;
};

}  // namespace tallyfox::server
