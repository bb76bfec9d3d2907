#pragma once

#include <array>
#include <boost/asio/ip/address.hpp>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>

namespace tallyfox::server {

/// An address as 16 bytes; IPv4 in its mapped form, so that ::ffff:192.0.2.1 and 192.0.2.1 are one client.
using AddressBytes = std::array<std::uint8_t, 16>;

[[nodiscard]] AddressBytes bytesOf(const boost::asio::ip::address& address);

/// What limits are counted by: an IPv4 address, or the first 64 bits of an IPv6 address, since one household or
/// server is given at least that many.
[[nodiscard]] AddressBytes limitedClient(const boost::asio::ip::address& address);

/// The addresses that begin with the same bits.
class Network {
 public:
  /// 10.0.0.0/8, 2001:db8::/32, or one address without a slash. Bits after the prefix do not count. The error is a
  /// few words.
  [[nodiscard]] static std::expected<Network, std::string> parsed(std::string_view text);
  [[nodiscard]] bool contains(const boost::asio::ip::address& address) const;
  bool operator==(const Network&) const = default;

 private:
  Network(AddressBytes first, unsigned bits) : first_(first), bits_(bits) {}

  AddressBytes first_;
  unsigned bits_;  ///< of the 16 bytes
};

}  // namespace tallyfox::server
