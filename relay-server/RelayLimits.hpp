#pragma once

#include <chrono>
#include <cstddef>

#include "AddressLimits.hpp"
#include "FrameRate.hpp"
#include "base/Limits.hpp"
#include "push/PushLimits.hpp"

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

  /// A connection that loads the phone page, from its first request to the end of its last answer: what a page of 100
  /// KiB needs at 56 kbit/s, with room. One address then holds at most 400 + 10 x 30 places (see below).
  std::chrono::milliseconds pageTime{30'000};
  /// How long such a connection is kept for its next request.
  std::chrono::milliseconds keepAliveTime{5'000};
  /// More than the page has files.
  std::size_t requestsPerConnection = 64;

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

  /// Connections of one address that is no listed proxy, asked before a byte is read. With `requestTime`,
  /// `helloTime` and `pageTime` one address holds at most 400 + 10 x 30 places among the 1024 strangers, so it alone
  /// turns nobody away.
  Rate connectionsPerAddress{.burst = 400, .perSecond = 10};
  /// Requests of one client, asked before its token is looked at. A device that finds no relay tries every three
  /// seconds, so 15 of them behind one address never wait; the burst lets an office of 60 computers, each with a phone
  /// of two sockets, come back at once after a restart.
  Rate requestsPerAddress{.burst = 200, .perSecond = 5};
  /// Registrations among these. An agent registers when it starts, so the burst lets the office above start at once;
  /// each new pairing is a row that stays.
  Rate registrationsPerAddress{.burst = 100, .perSecond = 1};
  /// Sockets of one pairing's agent. An agent that loses its connection comes back after three seconds, so one on the
  /// worst of lines stays below; two computers with the same token, each replacing the other, do not.
  Rate agentConnectionsPerPairing{.burst = 30, .perSecond = 0.5};

  /// Of one socket of a phone, which is closed beyond it: a person answers one dialog after the other, and no more than
  /// a screen full of them at once.
  FrameRateLimit phoneRate{.frames = {.burst = 100, .perSecond = 10},
                           .bytes = {.burst = 1024.0 * 1024, .perSecond = 64.0 * 1024}};
  /// Of an agent's socket, which is read more slowly beyond it, so that nothing is lost: an agent tells of changes that
  /// it sees in scans, a few a second, in lists of a few KiB; the bytes let four of the greatest frames pass at once.
  FrameRateLimit agentRate{.frames = {.burst = 200, .perSecond = 20},
                           .bytes = {.burst = 32.0 * 1024 * 1024, .perSecond = 2.0 * 1024 * 1024}};

  /// About 200 bytes each, in all tables; whoever has more addresses than this is not stopped by counting them.
  std::size_t limitedAddresses = 16'384;
  /// Connections beyond their limit that are being told so; further ones are cut without a word.
  std::size_t politeRefusals = 128;

  PushLimits push{};
};

}  // namespace tallyfox::server
