#pragma once

#include <array>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "NatsServer.hpp"
#include "RelayProcess.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server::testing {

/// Three relay programs that meet over a NATS server of their own.
class Cluster {
 public:
  static constexpr std::size_t size = 3;

  Cluster() {
    for (std::size_t node = 0; node < size; ++node)
      start(node);
  }
  void start(std::size_t node) {
    auto& process = nodes_.at(node).emplace(std::vector<std::string>{"--listen", "127.0.0.1:0", "--nats", nats.url()},
                                            TALLYFOX_RELAY_PROGRAM, logFile(node));
    ports_.at(node) = process.port();
  }
  void kill(std::size_t node) {
    ports_.at(node) = 0;
    nodes_.at(node)->signal(SIGKILL);
    static_cast<void>(nodes_.at(node)->ended());
  }
  /// 0 while the node is down.
  [[nodiscard]] std::uint16_t port(std::size_t node) const { return ports_.at(node % size); }
  [[nodiscard]] std::string log(std::size_t node) const {
    std::ifstream file(logFile(node));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  NatsServer nats;

 private:
  [[nodiscard]] std::string logFile(std::size_t node) const {
    return (directory_.path() / ("node-" + std::to_string(node) + ".log")).string();
  }

  TemporaryDirectory directory_;
  std::array<std::optional<RelayProcess>, size> nodes_;
  std::array<std::uint16_t, size> ports_{};
};

}  // namespace tallyfox::server::testing
