#include "NatsServer.hpp"

#include <csignal>
#include <fstream>
#include <stdexcept>

namespace tallyfox::server::testing {
namespace {

/// Debian puts servers where not every user's PATH leads.
constexpr const char* program = "/usr/sbin/nats-server";
constexpr std::string_view listening = "Listening for client connections on 127.0.0.1:";
constexpr std::string_view ready = "Server is ready";

}  // namespace

NatsServer::NatsServer(const std::string& settings) {
  std::ofstream(directory_.path() / "nats.conf") << "server_name: tallyfox\nping_interval: \"2s\"\n" << settings;
  start();
}

void NatsServer::kill() {
  process_->signal(SIGKILL);
  static_cast<void>(process_->ended());
}

void NatsServer::start() {
  process_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      program, "--config", (directory_.path() / "nats.conf").string(), "--addr", "127.0.0.1", "--port",
      port_ == 0 ? "-1" : std::to_string(port_), "--store_dir", (directory_.path() / "jetstream").string()});
  for (std::string line = process_->errors.line(); !line.ends_with(ready); line = process_->errors.line()) {
    if (line.empty()) throw std::runtime_error("nats-server does not start");
    const std::size_t at = line.find(listening);
    if (at != std::string::npos) port_ = static_cast<std::uint16_t>(std::stoi(line.substr(at + listening.size())));
  }
}

}  // namespace tallyfox::server::testing
