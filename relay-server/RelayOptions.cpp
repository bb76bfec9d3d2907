#include "RelayOptions.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <optional>
#include <system_error>

namespace tallyfox::server {
namespace {

struct ListenAddress {
  std::string address;
  std::uint16_t port = 0;
};

std::optional<ListenAddress> parsedListenAddress(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view host = text.substr(0, colon);
  const std::string_view digits = text.substr(colon + 1);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);

  ListenAddress result{.address = std::string(host)};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result.port);
  if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  boost::system::error_code notAnAddress;
  const auto address = boost::asio::ip::make_address(result.address, notAnAddress);
  if (notAnAddress || address.is_v6() != bracketed) return std::nullopt;
  return result;
}

RelayOptions asking(RelayOptions::Purpose purpose) {
  RelayOptions options;
  options.purpose = purpose;
  return options;
}

}  // namespace

std::string helpText() {
  return R"(Usage: tallyfox-relay --listen ADDRESS:PORT --data DIRECTORY

Carries sealed messages between Tallyfox agents and their phones. It speaks plain HTTP and WebSocket: listen on
loopback, behind a proxy that ends TLS.

  --listen ADDRESS:PORT    the IP address and port to listen on, such as 127.0.0.1:8080 or [::1]:8080; port 0 takes
                           any free one
  --data DIRECTORY         where the pairings are kept; created when it is missing

  --help                   show this text
  --version                show the version

Exit status: 0 ended by SIGTERM or SIGINT, 1 it could not start or failed, 2 wrong usage.
)";
}

std::expected<RelayOptions, std::string> RelayOptions::parsed(std::span<const char* const> arguments) {
  std::optional<std::string_view> listen;
  std::optional<std::string_view> data;
  const auto asks = [&](std::string_view name) { return std::ranges::find(arguments, name) != arguments.end(); };
  if (asks("--help") || asks("-h")) return asking(Purpose::showHelp);
  if (arguments.size() == 1 && asks("--version")) return asking(Purpose::showVersion);
  for (std::size_t index = 0; index < arguments.size(); index += 2) {
    const std::string_view name = arguments[index];
    std::optional<std::string_view>* value = name == "--listen" ? &listen : name == "--data" ? &data : nullptr;
    if (value == nullptr) return std::unexpected(fmt::format("Unknown argument {}; {}", name, usageText));
    if (*value) return std::unexpected(fmt::format("{} is given twice; {}", name, usageText));
    if (index + 1 == arguments.size()) return std::unexpected(fmt::format("{} lacks its value; {}", name, usageText));
    *value = arguments[index + 1];
  }
  if (!listen) return std::unexpected(fmt::format("--listen is missing; {}", usageText));
  if (!data || data->empty()) return std::unexpected(fmt::format("--data is missing; {}", usageText));
  auto address = parsedListenAddress(*listen);
  if (!address) {
    return std::unexpected(fmt::format("{} is not an address and port such as 127.0.0.1:8080; {}", *listen, usageText));
  }
  return RelayOptions{
      .purpose = Purpose::serve, .address = std::move(address->address), .port = address->port, .dataDirectory = *data};
}

}  // namespace tallyfox::server
