#include "Servers.hpp"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "load/LoadLoop.hpp"

namespace tallyfox::bench {
namespace {

constexpr std::chrono::seconds patience{20};

std::string natsConfiguration(std::uint16_t port, unsigned clientPort) {
  return "listen: \"127.0.0.1:" + std::to_string(clientPort) +
         "\"\nwebsocket {\n  listen: \"127.0.0.1:" + std::to_string(port) + "\"\n  no_tls: true\n}\n";
}

bool answers(std::uint16_t port) {
  load::LoadLoop loop;
  bool open = false;
  bool ended = false;
  loop.add({.port = port, .path = "/"}, {.opened = [&](auto&) { open = true; },
                                         .message = {},
                                         .ended = [&](auto&, unsigned code) { (code != 0 ? open : ended) = true; }});
  loop.runUntil([&] { return open || ended; }, patience);
  return open;
}

}  // namespace

Server::Server(Kind kind) : kind_(kind), port_(static_cast<std::uint16_t>(load::freePort())) {
  std::string pattern = "/dev/shm/tallyfox-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no directory in memory");
  directory_ = pattern;
  start();
}

Server::~Server() {
  process_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void Server::start() {
  const std::string at = "127.0.0.1:" + std::to_string(port_);
  const std::string log = directory_ / "log";
  process_.reset();
  if (kind_ == Kind::relay) {
    // The clients' addresses are told as a proxy would, each its own, so that no limit by address is measured.
    process_ = std::make_unique<load::ChildProcess>(
        std::vector<std::string>{TALLYFOX_RELAY, "--listen", at, "--data", directory_ / "data", "--trusted-proxy",
                                 "127.0.0.0/8"},
        log);
  } else if (kind_ == Kind::echo) {
    process_ = std::make_unique<load::ChildProcess>(
        std::vector<std::string>{TALLYFOX_ECHO_SERVER, std::to_string(port_)}, log);
  } else {
    std::ofstream(directory_ / "nats.conf") << natsConfiguration(port_, load::freePort());
    process_ = std::make_unique<load::ChildProcess>(
        std::vector<std::string>{"nats-server", "-c", directory_ / "nats.conf"}, log);
  }
  const auto end = load::LoadLoop::Clock::now() + patience;
  while (!answers(port_)) {
    if (load::LoadLoop::Clock::now() > end) throw std::runtime_error("a server does not answer; see " + log);
  }
}

}  // namespace tallyfox::bench
