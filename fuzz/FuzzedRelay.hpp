#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "RelayLimits.hpp"
#include "RelayOptions.hpp"
#include "RelayServer.hpp"
#include "base/Console.hpp"
#include "base/Require.hpp"

namespace tallyfox::server {

/// What proves to belong to any pairing of the relay under test; longer than what the log keeps of an identifier.
inline constexpr std::string_view fuzzedToken = "token-of-all-pairings";

/// A whole relay on loopback, in a thread of this process until it ends, whose log is held to its promise.
class FuzzedRelay {
 public:
  FuzzedRelay() {
    std::string directory = "/dev/shm/tallyfox-fuzz-XXXXXX";
    require(mkdtemp(directory.data()) != nullptr, "a directory in memory");
    RelayOptions options;
    options.address = "127.0.0.1";
    options.dataDirectory = directory;
    RelayLimits limits;
    const Rate any{.burst = 1e9, .perSecond = 1e9};
    limits.connectionsPerAddress = limits.requestsPerAddress = limits.registrationsPerAddress = any;
    limits.agentConnectionsPerPairing = any;
    limits.phoneRate = limits.agentRate = {.frames = any, .bytes = any};
    auto server = RelayServer::open(options, limits, console_);
    require(server.has_value(), "the relay starts");
    // The database is open; nobody needs its name any more.
    std::filesystem::remove_all(directory);
    server_ = std::move(*server);
    port_ = server_->port();
    std::thread([this] { server_->run(); }).detach();
  }

  [[nodiscard]] std::uint16_t port() const { return port_; }
  /// Another address of the loopback each time, so that no ports run out.
  [[nodiscard]] std::uint32_t nextSource() { return 0x7F000002 + ++sources_ % 0xFFFF00; }

 private:
  class CheckedConsole final : public Console {
   public:
    void printLine(std::string_view line) override {
      require(!line.contains(fuzzedToken), "no token is logged");
      require(!line.contains('\n'), "an event is one line");
    }
  };
  CheckedConsole console_;
  std::unique_ptr<RelayServer> server_;
  std::uint16_t port_ = 0;
  std::uint32_t sources_ = 0;
};

/// One that lives as long as the process.
inline FuzzedRelay& fuzzedRelay() {
  static FuzzedRelay& relay = *new FuzzedRelay;
  return relay;
}

}  // namespace tallyfox::server
