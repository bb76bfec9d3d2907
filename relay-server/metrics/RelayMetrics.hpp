#pragma once

#include <string>

#include "CodeCounter.hpp"
#include "FrameType.hpp"
#include "Histogram.hpp"
#include "KindCounter.hpp"

namespace tallyfox::server {

/// What the relay counts while it works, each for a few instructions; for its one thread. What can be looked at instead
/// is passed in when the text is asked for.
struct RelayMetrics {
  enum class Peer : std::uint8_t { agent, phone };
  enum class Undeliverable : std::uint8_t { noAgent, agentNotReading, uncertain };
  enum class Refusal : std::uint8_t {
    connectionRate,
    requestRate,
    newcomers,
    helloTime,
    draining,
    registrationRate,
    agentRate,
    frameRate
  };

  enum class Handshake : std::uint8_t { done, failed };
  enum class Push : std::uint8_t { accepted, gone, refused, failed, dropped };

  static constexpr std::array<std::string_view, 2> handshakeNames{"done", "failed"};
  static constexpr std::array<std::string_view, 5> pushNames{"accepted", "gone", "refused", "failed", "dropped"};
  static constexpr std::array<std::string_view, 2> peerNames{"agent", "phone"};
  static constexpr std::array<std::string_view, 3> undeliverableNames{"no_agent", "agent_not_reading", "uncertain"};
  static constexpr std::array<std::string_view, 8> refusalNames{"connection_rate", "request_rate", "newcomers",
                                                                "hello_time",      "draining",     "registration_rate",
                                                                "agent_rate",      "frame_rate"};

  /// What is so at the moment of asking.
  struct Gauges {
    std::size_t unauthenticated = 0;
    std::size_t rooms = 0;
    std::size_t snapshotBytes = 0;
  };

  RelayMetrics();

  std::uint64_t connections = 0;  ///< accepted
  KindCounter<Peer, peerNames.size()> sockets{peerNames};
  KindCounter<Peer, peerNames.size()> socketsOpened{peerNames};
  KindCounter<FrameType, frameTypeNames.size()> framesIn{frameTypeNames};
  KindCounter<FrameType, frameTypeNames.size()> frameBytesIn{frameTypeNames};
  KindCounter<FrameType, frameTypeNames.size()> framesOut{frameTypeNames};
  KindCounter<FrameType, frameTypeNames.size()> frameBytesOut{frameTypeNames};
  KindCounter<Undeliverable, undeliverableNames.size()> undeliverables{undeliverableNames};
  KindCounter<Refusal, refusalNames.size()> refusals{refusalNames};
  KindCounter<Handshake, handshakeNames.size()> tlsHandshakes{handshakeNames};
  KindCounter<Push, pushNames.size()> pushes{pushNames};  ///< by how they ended
  CodeCounter responses;                                  ///< by HTTP status; 101 is an upgrade
  CodeCounter relayCloses;                                ///< by the code that the relay sent
  CodeCounter peerCloses;                                 ///< by the code that the peer sent first
  std::uint64_t cuts = 0;                                 ///< sockets that ended without a close
  std::uint64_t slowConsumers = 0;
  std::uint64_t pauses = 0;  ///< in reading agents that send too fast
  std::uint64_t storageFailures = 0;
  Histogram storageReadSeconds{workBounds};
  Histogram storageWriteSeconds{workBounds};
  Histogram handshakeSeconds{networkBounds};
  Histogram agentFrameSeconds{workBounds};
  Histogram phoneFrameSeconds{workBounds};

  void frameIn(FrameType type, std::size_t bytes) {
    framesIn.add(type);
    frameBytesIn.add(type, bytes);
  }
  void socketJoined(Peer peer) {
    sockets.add(peer);
    socketsOpened.add(peer);
  }
  void frameOut(FrameType type, std::size_t bytes) {
    framesOut.add(type);
    frameBytesOut.add(type, bytes);
  }

  /// Everything, with the figures of the process.
  [[nodiscard]] std::string text(const Gauges& gauges) const;
};

}  // namespace tallyfox::server
