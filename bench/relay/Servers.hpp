#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "load/ChildProcess.hpp"

namespace tallyfox::bench {

/// A server program on the loopback with files of its own in memory, so that no disk is measured.
class Server {
 public:
  enum class Kind { relay, echo, nats };
  explicit Server(Kind kind);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  void start();
  void stop(bool kill = false) { process_->stop(kill); }
  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] load::ChildProcess& process() { return *process_; }

 private:
  Kind kind_;
  std::filesystem::path directory_;
  std::uint16_t port_;
  std::unique_ptr<load::ChildProcess> process_;
};

}  // namespace tallyfox::bench
