#pragma once

#include <boost/asio/ip/address.hpp>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Environment.hpp"
#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkAddress.hpp"

namespace tallyfox::linux_os {

/// An HTTP proxy that makes tunnels.
struct Proxy {
  NetworkAddress address;
  std::string authorization;  ///< a value for Proxy-Authorization; empty without credentials
  bool operator==(const Proxy&) const = default;
};

/// The hosts that are reached without a proxy: entries between commas or white space, each a name (which stands for its
/// subdomains too, with or without a leading "." or "*."), an address, a network as ADDRESS/BITS, or "*" for all; a
/// name or address may carry a port and then stands for that port alone. What is none of these matches nothing.
class ProxyExceptions {
 public:
  ProxyExceptions() = default;
  explicit ProxyExceptions(std::string_view list);
  [[nodiscard]] bool contain(const NetworkAddress& address) const;

 private:
  struct Entry {
    std::string name;  ///< lower case, without outer dots; empty for a network
    std::optional<boost::asio::ip::address> network;
    unsigned prefixBits = 0;
    std::string port;  ///< empty for every port
  };
  [[nodiscard]] static std::optional<Entry> parsed(std::string_view text);
  [[nodiscard]] static bool matches(const Entry& entry, const std::string& host,
                                    const std::optional<boost::asio::ip::address>& literal);

  bool isEverything_ = false;
  std::vector<Entry> entries_;
};

/// Which connections go through a proxy, by the variables that curl and others read: https_proxy or HTTPS_PROXY, else
/// all_proxy or ALL_PROXY, except for the hosts of no_proxy or NO_PROXY; the lower-case name wins, and an empty value
/// counts as none.
class ProxySettings {
 public:
  /// No proxy for anything.
  ProxySettings() = default;
  [[nodiscard]] static ProxySettings from(Environment& environment);

  /// The proxy for an address, or none. Plain connections and this machine itself never have one: only a relay on
  /// loopback is spoken to plainly. A proxy of an unsupported kind, or an address that is none, fails every connection
  /// that would need it: to go round a proxy that the owner set up would be wrong.
  [[nodiscard]] std::expected<std::optional<Proxy>, TransportError> proxyFor(const NetworkAddress& address) const;

 private:
  std::expected<std::optional<Proxy>, TransportError> proxy_;
  ProxyExceptions exceptions_;
};

}  // namespace tallyfox::linux_os
