#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "LiveRelay.hpp"
#include "RawClient.hpp"
#include "RawFrame.hpp"

namespace tallyfox::server::conformance {

/// One row of a table: what a phone sends after its welcome, and what comes back until the stream ends.
struct Case {
  const char* section;  ///< of RFC 6455
  const char* what;
  std::string bytes;
  std::string answer;  ///< one event a line
};

/// A relay with one pairing and no agent in it: each decision of a phone is answered as undeliverable, so that what
/// arrived can be seen. Beside every client under test a well-behaved phone stays connected, and is asked after it.
class ConformanceTest : public ::testing::Test {
 protected:
  explicit ConformanceTest(const RelayLimits& limits = generous());
  /// No limit on how often this one address may come.
  [[nodiscard]] static RelayLimits generous();

  /// A connection whose handshake has gone well: at /phone, or as the pairing's agent.
  [[nodiscard]] RawClient opened(const std::string& path = "/phone");
  /// A phone that has been welcomed.
  [[nodiscard]] RawClient phone();
  /// An agent that has been told its phones.
  [[nodiscard]] RawClient agent();
  /// The well-behaved phone's round trip.
  void expectUndisturbed();
  /// Each on a connection of its own.
  void expectAnswers(const std::vector<Case>& cases);

  testing::TemporaryDirectory directory;
  testing::LiveRelay relay;

 private:
  std::unique_ptr<RawClient> bystander_;
  unsigned roundTrips_ = 0;
};

/// A handshake that is in order; each header can be left out or replaced.
struct Handshake {
  std::string requestLine = "GET /phone HTTP/1.1";
  std::string host = "Host: relay\r\n";
  std::string upgrade = "Upgrade: websocket\r\n";
  std::string connection = "Connection: Upgrade\r\n";
  std::string key = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  std::string version = "Sec-WebSocket-Version: 13\r\n";
  std::string others{};

  [[nodiscard]] std::string text() const {
    return requestLine + "\r\n" + host + upgrade + connection + key + version + others + "\r\n";
  }
};

/// A close frame with 1000, which ends a connection in order, and what is answered to it.
[[nodiscard]] std::string goodbye();
inline constexpr const char* farewell = "close 1000\nend\n";

/// A decision and its answer while no agent is there.
[[nodiscard]] std::string decision(const std::string& id, const std::string& padding = "");
[[nodiscard]] std::string undelivered(const std::string& id);

}  // namespace tallyfox::server::conformance
