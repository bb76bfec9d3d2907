#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Awaited.hpp"
#include "RelayPeer.hpp"
#include "base/Console.hpp"
#include "storage/RelayDatabase.hpp"
#include "storage/SqlitePairingStore.hpp"

namespace tallyfox::server::testing {

/// Keeps what was logged.
class RecordedConsole final : public Console {
 public:
  void printLine(std::string_view line) override {
    const std::scoped_lock lock(mutex_);
    text_.append(line).append("\n");
  }
  [[nodiscard]] std::string text() const {
    const std::scoped_lock lock(mutex_);
    return text_;
  }

 private:
  mutable std::mutex mutex_;
  std::string text_;
};

/// Keeps what it was sent and how it was closed; can be told to be full.
class RecordedPeer final : public RelayPeer {
 public:
  bool send(Frame frame, FrameType) override {
    if (full || closed) return false;
    frames.push_back(*frame);
    return true;
  }
  using RelayPeer::close;
  void close(CloseCode code, std::string) override {
    if (!closed) closed = code;
  }
  /// The frames since the last call.
  [[nodiscard]] std::vector<std::string> taken() { return std::exchange(frames, {}); }

  std::vector<std::string> frames;
  std::optional<CloseCode> closed;
  bool full = false;
};

inline Frame frameOf(std::string text) {
  return std::make_shared<const std::string>(std::move(text));
}

inline RelayDatabase openedDatabase(const std::filesystem::path& directory) {
  auto database = RelayDatabase::open(directory);
  if (!database) throw std::runtime_error(database.error().description);
  return std::move(*database);
}

inline SqlitePairingStore openedStore(const std::filesystem::path& directory) {
  return SqlitePairingStore(openedDatabase(directory));
}

/// Messages as agent and phones send them; the sealed parts are opaque to the relay.
namespace message {
inline const std::string sealed = R"({"version":1,"nonce":"AAAAAAAAAAAAAAAA","ciphertext":"c2VhbGVkLWJveA=="})";
inline std::string snapshot(const std::string& snapshotID, const std::string& padding = "") {
  return R"({"type":"mac.snapshot","observedAt":"2026-03-14T09:26:53Z","accessibilityTrusted":true,)"
         R"("encryptedApprovals":)" +
         sealed + R"(,"approvalCount":1,"snapshotID":")" + snapshotID + R"(","padding":")" + padding + R"("})";
}
inline std::string result(const std::string& decisionID, const std::string& padding = "") {
  return R"({"type":"approval.result","decisionID":")" + decisionID + R"(","encryptedResult":)" + sealed +
         R"(,"issuedAt":"2026-03-14T09:26:54Z","padding":")" + padding + R"("})";
}
inline std::string request(const std::string& decisionID) {
  return R"({ "type" : "approval.request", "extra": [1, 2.50], "decisionID": ")" + decisionID +
         R"(","encryptedRequest":)" + sealed + R"(,"issuedAt":"2026-03-14T09:26:53.25Z"})";
}
inline std::string suppression(const std::string& type, const std::string& decisionID) {
  return R"({"type":")" + type + R"(","decisionID":")" + decisionID + R"(","encryptedSuppression":)" + sealed + "}";
}
inline std::string unpair(const std::string& deviceID) {
  return R"({"type":"phone.unpair","deviceID":")" + deviceID + R"(","issuedAt":"2026-03-14T09:26:55Z"})";
}
inline const std::string unpairAll = R"({"type":"phone.unpair","issuedAt":"2026-03-14T09:26:55Z"})";
inline const std::string leave = R"({"type":"phone.leave"})";
inline std::string hello(const std::string& pairingID, const std::string& secret, const std::string& deviceID,
                         const std::string& deviceName) {
  return R"({"type":"phone.hello","version":1,"pairingID":")" + pairingID + R"(","relaySecret":")" + secret +
         R"(","deviceID":")" + deviceID + R"(","deviceName":")" + deviceName + R"(","platform":"cli"})";
}
inline std::string welcome(bool agentConnected) {
  return std::string(R"({"type":"relay.welcome","version":1,"agentConnected":)") +
         (agentConnected ? "true}" : "false}");
}
inline std::string agentStatus(bool connected) {
  return std::string(R"({"type":"agent.status","agentConnected":)") + (connected ? "true}" : "false}");
}
inline std::string undeliverable(const std::string& decisionID) {
  return R"({"type":"decision.undeliverable","decisionID":")" + decisionID + R"(","reason":"offline"})";
}
inline const std::string unpaired = R"({"type":"phone.unpaired"})";
}  // namespace message

}  // namespace tallyfox::server::testing
