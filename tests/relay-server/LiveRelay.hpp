#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "Recorders.hpp"
#include "RelayLimits.hpp"
#include "RelayOptions.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
class RelayServer;
}

namespace tallyfox::server::testing {

/// A whole relay on loopback, in a thread of this process.
class LiveRelay {
 public:
  explicit LiveRelay(const std::filesystem::path& directory, const RelayLimits& limits = {}, RelayOptions options = {});
  ~LiveRelay();
  LiveRelay(const LiveRelay&) = delete;
  LiveRelay& operator=(const LiveRelay&) = delete;

  void stop();
  void drain();
  /// Waits until it has ended by itself.
  void awaitEnd();
  /// Connections that are made after this call get what was read.
  void reload();
  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::uint16_t metricsPort() const { return metricsPort_; }

  RecordedConsole console;

 private:
  std::unique_ptr<RelayServer> server_;
  std::uint16_t port_ = 0;
  std::uint16_t metricsPort_ = 0;
  std::thread thread_;
};

/// A plain TCP connection; no wait of it is endless.
class TestConnection {
 public:
  explicit TestConnection(std::uint16_t port);
  ~TestConnection();
  void write(const std::string& text);
  /// One answer of a connection that may be kept; absent when none comes. Without a body when the request asks for
  /// none.
  [[nodiscard]] std::optional<std::string> readAnswer(bool hasBody = true);
  /// Everything until the relay closes; absent when it does not.
  [[nodiscard]] std::optional<std::string> readToEnd();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Status and body of one request.
struct HttpAnswer {
  unsigned status = 0;
  std::string body{};
  bool operator==(const HttpAnswer&) const = default;
};
[[nodiscard]] HttpAnswer askedOver(std::uint16_t port, const std::string& request);
[[nodiscard]] HttpAnswer registered(std::uint16_t port, const std::string& pairingID, const std::string& token);

/// One WebSocket client; no wait of it is endless.
class TestSocket {
 public:
  /// Connects as an agent does, or, without a token, as a phone. Leaves 101 in `status` when the socket is open.
  TestSocket(std::uint16_t port, const std::string& path, const std::string& token = "");
  TestSocket(TestSocket&&) noexcept;
  ~TestSocket();

  void send(const std::string& text);
  void sendBinary(const std::string& bytes);
  /// The next frame, or "closed CODE", or "cut" when the connection ended otherwise, or "silence".
  [[nodiscard]] std::string next();
  /// Of a close that was read.
  [[nodiscard]] std::string closeReason() const;
  void close();

  unsigned status = 0;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// A phone's socket that has said its hello; the answer is the first frame to read.
class TestPhone : public TestSocket {
 public:
  TestPhone(std::uint16_t port, const std::string& pairingID, const std::string& secret, const std::string& deviceID)
      : TestSocket(port, "/phone") {
    send(message::hello(pairingID, secret, deviceID, "Name of " + deviceID));
  }
};

}  // namespace tallyfox::server::testing
