#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfox::server {

/// How a relay becomes a node of a cluster.
struct NatsOptions {
  std::vector<std::string> servers;  ///< addresses such as nats://host:4222; may hold a user and a password
  std::optional<std::filesystem::path> credentials{};
  std::optional<std::filesystem::path>
      authorities{};                ///< certificates that vouch for the servers, besides the system's
  std::string prefix = "tallyfox";  ///< of all subjects and buckets
  int replicas = 1;
  bool operator==(const NatsOptions&) const = default;

  /// Whether TLS was asked for.
  [[nodiscard]] bool isSecure() const;
  /// The servers as they may stand in a log: without user and password.
  [[nodiscard]] std::string publicName() const;
};

/// The addresses of a list with commas between them. The error is one line that quotes no password.
[[nodiscard]] std::expected<std::vector<std::string>, std::string> parsedNatsServers(std::string_view list);

}  // namespace tallyfox::server
