#include "NatsOptions.hpp"

#include <algorithm>

namespace tallyfox::server {
namespace {

constexpr std::string_view plainScheme = "nats://";
constexpr std::string_view secureScheme = "tls://";

std::string withoutUser(std::string_view server) {
  const std::size_t start = server.find("://") + 3;
  const std::size_t at = server.rfind('@');
  if (at == std::string_view::npos) return std::string(server);
  return std::string(server.substr(0, start)) + std::string(server.substr(at + 1));
}

}  // namespace

bool NatsOptions::isSecure() const {
  return std::ranges::any_of(servers, [](const std::string& server) { return server.starts_with(secureScheme); });
}

std::string NatsOptions::publicName() const {
  std::string names;
  for (const std::string& server : servers)
    names += (names.empty() ? "" : ", ") + withoutUser(server);
  return names;
}

std::expected<std::vector<std::string>, std::string> parsedNatsServers(std::string_view list) {
  std::vector<std::string> servers;
  while (true) {
    const std::size_t comma = list.find(',');
    const std::string_view server = list.substr(0, comma);
    const std::string_view scheme = server.starts_with(secureScheme) ? secureScheme : plainScheme;
    // A control character or a space could only come from a slip of the hand, and would go astray in the protocol.
    const bool isPlain = std::ranges::all_of(server, [](char c) { return c > ' ' && c < '\x7F'; });
    if (!server.starts_with(scheme) || server.size() == scheme.size() || server.ends_with('@') || !isPlain) {
      return std::unexpected("the address of a NATS server looks like nats://host:4222 or tls://host:4222");
    }
    servers.emplace_back(server);
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  const auto isSecure = [](const std::string& server) { return server.starts_with(secureScheme); };
  if (!std::ranges::all_of(servers, isSecure) && !std::ranges::none_of(servers, isSecure)) {
    return std::unexpected("either all NATS servers are spoken to by tls:// or none");
  }
  return servers;
}

}  // namespace tallyfox::server
