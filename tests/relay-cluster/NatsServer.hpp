#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "ChildProcess.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server::testing {

/// A NATS server of its own on loopback, with JetStream in a temporary folder.
class NatsServer {
 public:
  /// `settings` take the place of those that a cluster of relays needs.
  explicit NatsServer(const std::string& settings = "max_payload: 9MB\njetstream {}\n");

  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::string url() const { return "nats://127.0.0.1:" + std::to_string(port_); }
  /// Ends it without a word; what it stored stays.
  void kill();
  /// Starts it again at the same port.
  void start();

 private:
  TemporaryDirectory directory_;
  std::uint16_t port_ = 0;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tallyfox::server::testing
