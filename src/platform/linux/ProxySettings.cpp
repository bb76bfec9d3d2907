#include "platform/linux/ProxySettings.hpp"

#include <algorithm>
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/address_v6.hpp>
#include <charconv>
#include <initializer_list>

#include "base/Encoding.hpp"
#include "base/Text.hpp"
#include "base/Url.hpp"

namespace tallyfox::linux_os {
namespace {

namespace ip = boost::asio::ip;

/// Where a proxy listens whose address names no port: curl's own choice, and the port that was registered for it.
constexpr std::uint16_t defaultPort = 1080;

std::optional<unsigned> numberIn(std::string_view text) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// An address as it is compared: one of the old kind in the clothes of the new kind is of the old kind.
std::optional<ip::address> addressIn(const std::string& text) {
  boost::system::error_code error;
  ip::address address = ip::make_address(text, error);
  if (error) return std::nullopt;
  if (address.is_v6() && address.to_v6().is_v4_mapped()) return ip::make_address_v4(ip::v4_mapped, address.to_v6());
  return address;
}

template <typename Address>
bool isInNetwork(const Address& address, const Address& network, unsigned bits) {
  const auto left = address.to_bytes();
  const auto right = network.to_bytes();
  for (std::size_t i = 0; i < left.size() && bits > 0; ++i) {
    const unsigned compared = std::min(bits, 8U);
    if (((left[i] ^ right[i]) >> (8U - compared)) != 0) return false;
    bits -= compared;
  }
  return true;
}

std::string_view withoutDots(std::string_view name) {
  if (name.starts_with("*.")) name.remove_prefix(2);
  while (name.starts_with('.'))
    name.remove_prefix(1);
  while (name.ends_with('.'))
    name.remove_suffix(1);
  return name;
}

bool isThisMachine(const std::string& host, const std::optional<ip::address>& literal) {
  return literal ? literal->is_loopback() : host == "localhost" || host.ends_with(".localhost");
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned code = 0;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(text.data() + i + 1, text.data() + i + 3, code, 16).ptr == text.data() + i + 3) {
      result += static_cast<char>(code);
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

/// The first of the variables that says something.
std::string valueOf(Environment& environment, std::initializer_list<const char*> names) {
  for (const char* name : names)
    if (const auto value = environment.value(name); value && !value->empty()) return *value;
  return {};
}

/// Says nothing of the text itself, which may hold a password.
std::expected<std::optional<Proxy>, TransportError> parsedProxy(const std::string& text) {
  if (text.empty()) return std::nullopt;
  const auto url = Url::parsed(text.find("://") == std::string::npos ? "http://" + text : text);
  if (!url || !url->scheme || !url->host)
    return std::unexpected(TransportError{"The address of the proxy is not valid."});
  if (url->scheme != "http")
    return std::unexpected(
        TransportError{"The proxy speaks " + *url->scheme + ", but only http proxies are supported."});
  Proxy proxy;
  proxy.address.host = *url->host;
  proxy.address.port = std::to_string(url->port.value_or(defaultPort));
  if (url->user) {
    std::string credentials = percentDecoded(*url->user);
    if (url->user->find(':') == std::string::npos) credentials += ':';
    proxy.authorization = "Basic " + base64Encoded(bytesOf(credentials));
  }
  return proxy;
}

}  // namespace

ProxyExceptions::ProxyExceptions(std::string_view list) {
  constexpr std::string_view separators = ", \t\r\n";
  while (true) {
    const std::size_t begin = list.find_first_not_of(separators);
    if (begin == std::string_view::npos) return;
    const std::string_view text = list.substr(begin, list.find_first_of(separators, begin) - begin);
    list.remove_prefix(begin + text.size());
    if (text == "*") isEverything_ = true;
    if (auto entry = parsed(text)) entries_.push_back(*std::move(entry));
  }
}

std::optional<ProxyExceptions::Entry> ProxyExceptions::parsed(std::string_view text) {
  Entry entry;
  // An IPv6 literal has more than one colon; with a port it stands in brackets.
  const std::size_t colon = text.rfind(':');
  const bool hasPort = colon != std::string_view::npos && (text.find(':') == colon || text[colon - 1] == ']');
  if (hasPort) {
    if (!numberIn(text.substr(colon + 1))) return std::nullopt;
    entry.port = text.substr(colon + 1);
    text = text.substr(0, colon);
  }
  const std::size_t slash = text.find('/');
  std::string_view host = text.substr(0, slash);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  entry.network = addressIn(std::string(host));
  if (!entry.network) {
    entry.name = lowercased(withoutDots(host));
    if (entry.name.empty() || slash != std::string_view::npos) return std::nullopt;
    return entry;
  }
  const unsigned wholeBits = entry.network->is_v4() ? 32 : 128;
  const auto bits = slash == std::string_view::npos ? wholeBits : numberIn(text.substr(slash + 1));
  if (!bits || *bits > wholeBits) return std::nullopt;
  entry.prefixBits = *bits;
  return entry;
}

bool ProxyExceptions::matches(const Entry& entry, const std::string& host, const std::optional<ip::address>& literal) {
  if (entry.network.has_value() != literal.has_value()) return false;
  if (!literal) return host == entry.name || host.ends_with("." + entry.name);
  if (literal->is_v4() != entry.network->is_v4()) return false;
  return literal->is_v4() ? isInNetwork(literal->to_v4(), entry.network->to_v4(), entry.prefixBits)
                          : isInNetwork(literal->to_v6(), entry.network->to_v6(), entry.prefixBits);
}

bool ProxyExceptions::contain(const NetworkAddress& address) const {
  if (isEverything_) return true;
  const auto literal = addressIn(address.host);
  const std::string host = lowercased(withoutDots(address.host));
  return std::ranges::any_of(entries_, [&](const Entry& entry) {
    return (entry.port.empty() || entry.port == address.port) && matches(entry, host, literal);
  });
}

ProxySettings ProxySettings::from(Environment& environment) {
  ProxySettings settings;
  settings.proxy_ = parsedProxy(valueOf(environment, {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}));
  settings.exceptions_ = ProxyExceptions(valueOf(environment, {"no_proxy", "NO_PROXY"}));
  return settings;
}

std::expected<std::optional<Proxy>, TransportError> ProxySettings::proxyFor(const NetworkAddress& address) const {
  if (!address.isSecure || isThisMachine(lowercased(withoutDots(address.host)), addressIn(address.host)) ||
      exceptions_.contain(address))
    return std::nullopt;
  return proxy_;
}

}  // namespace tallyfox::linux_os
