#include "ClientAddress.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace tallyfox::server {
namespace {

namespace ip = boost::asio::ip;

constexpr unsigned addressBits = 128;
constexpr unsigned mappedBits = 96;  ///< before the IPv4 address in its mapped form

void clearAfter(AddressBytes& bytes, unsigned bits) {
  for (unsigned index = 0; index < bytes.size(); ++index) {
    const unsigned kept = std::clamp(bits, index * 8, index * 8 + 8) - index * 8;
    bytes[index] = static_cast<std::uint8_t>(bytes[index] & (0xFF00U >> kept));
  }
}

}  // namespace

AddressBytes bytesOf(const ip::address& address) {
  if (address.is_v6()) return address.to_v6().to_bytes();
  AddressBytes bytes{};
  bytes[10] = bytes[11] = 0xFF;
  std::ranges::copy(address.to_v4().to_bytes(), bytes.begin() + 12);
  return bytes;
}

AddressBytes limitedClient(const ip::address& address) {
  AddressBytes bytes = bytesOf(address);
  if (address.is_v6() && !address.to_v6().is_v4_mapped()) clearAfter(bytes, 64);
  return bytes;
}

std::expected<Network, std::string> Network::parsed(std::string_view text) {
  const auto slash = text.find('/');
  boost::system::error_code noAddress;
  const auto address = ip::make_address(std::string(text.substr(0, slash)), noAddress);
  if (noAddress) return std::unexpected(fmt::format("{} is no IP address or network", text));
  const unsigned before = address.is_v4() ? mappedBits : 0;
  unsigned bits = addressBits - before;
  if (slash != std::string_view::npos) {
    const std::string_view digits = text.substr(slash + 1);
    unsigned given = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), given);
    if (error != std::errc{} || end != digits.data() + digits.size() || given > bits) {
      return std::unexpected(fmt::format("{} has no prefix length from 0 to {}", text, bits));
    }
    bits = given;
  }
  AddressBytes first = bytesOf(address);
  clearAfter(first, before + bits);
  return Network(first, before + bits);
}

bool Network::contains(const ip::address& address) const {
  AddressBytes bytes = bytesOf(address);
  clearAfter(bytes, bits_);
  return bytes == first_;
}

}  // namespace tallyfox::server
