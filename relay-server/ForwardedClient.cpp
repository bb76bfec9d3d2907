#include "ForwardedClient.hpp"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;
using boost::asio::ip::address;

std::string_view trimmed(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && isBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

/// Takes the part after the last separator that no quotes enclose. Reading from the right, what a client wrote further
/// left, such as a quote that never closes, cannot change what the proxies wrote.
std::string_view takenLast(std::string_view& text, char separator) {
  bool quoted = false;
  for (std::size_t index = text.size(); index-- > 0;) {
    if (text[index] == '"') quoted = !quoted;
    if (quoted || text[index] != separator) continue;
    const std::string_view last = text.substr(index + 1);
    text = text.substr(0, index);
    return trimmed(last);
  }
  return trimmed(std::exchange(text, {}));
}

bool isPort(std::string_view text) {
  return !text.empty() && text.size() <= 5 && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

/// An address, which may have a port; IPv6 with a port is in brackets.
std::optional<address> addressIn(std::string_view node) {
  if (node.starts_with('[')) {
    const auto end = node.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view after = node.substr(end + 1);
    if (!after.empty() && !(after.front() == ':' && isPort(after.substr(1)))) return std::nullopt;
    node = node.substr(1, end - 1);
    if (!node.contains(':')) return std::nullopt;
  } else if (std::ranges::count(node, ':') == 1) {
    if (!isPort(node.substr(node.find(':') + 1))) return std::nullopt;
    node = node.substr(0, node.find(':'));
  }
  // The longest that there is, with an IPv4 part.
  if (node.size() > 45) return std::nullopt;
  // The reader of addresses takes anything for a zone behind a percent sign, and no notice of what follows a zero.
  if (node.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos) return std::nullopt;
  boost::system::error_code noAddress;
  const address found = boost::asio::ip::make_address(std::string(node), noAddress);
  return noAddress ? std::nullopt : std::optional(found);
}

/// The address of one element of `Forwarded`; names and hidden addresses have none.
std::optional<address> forAddress(std::string_view element) {
  // With a quote too many it could not be told from what a client wrote to its left.
  if (std::ranges::count(element, '"') % 2 != 0) return std::nullopt;
  std::optional<address> found;
  while (!element.empty()) {
    const std::string_view pair = takenLast(element, ';');
    const auto equals = pair.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    if (!boost::beast::iequals(pair.substr(0, equals), "for")) continue;
    std::string_view node = pair.substr(equals + 1);
    if (node.size() >= 2 && node.front() == '"' && node.back() == '"') node = node.substr(1, node.size() - 2);
    if (found) return std::nullopt;
    found = addressIn(node);
    if (!found) return std::nullopt;
  }
  return found;
}

/// All lines of one header, as one list.
std::string joined(const http::fields& fields, boost::beast::string_view name) {
  std::string text;
  const auto [begin, end] = fields.equal_range(name);
  for (auto line = begin; line != end; ++line) {
    if (!text.empty()) text += ',';
    text.append(line->value().data(), line->value().size());
  }
  return text;
}

/// Absent when the header is malformed or names nobody but proxies.
std::optional<address> clientIn(std::string_view list, std::optional<address> (*read)(std::string_view),
                                std::span<const Network> proxies) {
  while (!list.empty()) {
    const auto hop = read(takenLast(list, ','));
    if (!hop || !isListed(proxies, *hop)) return hop;
  }
  return std::nullopt;
}

}  // namespace

bool isListed(std::span<const Network> networks, const address& address) {
  return std::ranges::any_of(networks, [&](const Network& network) { return network.contains(address); });
}

address forwardedClient(const address& peer, const http::fields& fields, std::span<const Network> proxies) {
  if (!isListed(proxies, peer)) return peer;
  const std::string standard = joined(fields, "Forwarded");
  const std::string customary = joined(fields, "X-Forwarded-For");
  const auto first = clientIn(standard, forAddress, proxies);
  const auto second = clientIn(customary, addressIn, proxies);
  if (standard.empty()) return second.value_or(peer);
  if (customary.empty()) return first.value_or(peer);
  return first && second && bytesOf(*first) == bytesOf(*second) ? *first : peer;
}

}  // namespace tallyfox::server
