#include "push/PushServices.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace tallyfox::server {
namespace {

using boost::asio::ip::address;
using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

struct Block {
  std::array<unsigned char, 16> first;
  unsigned bits;
};

/// Everything of IPv4 that is not the public internet (IANA's registry of special addresses).
constexpr std::array<Block, 15> specialV4{{{{0}, 8},
                                           {{10}, 8},
                                           {{100, 64}, 10},
                                           {{127}, 8},
                                           {{169, 254}, 16},
                                           {{172, 16}, 12},
                                           {{192, 0, 0}, 24},
                                           {{192, 0, 2}, 24},
                                           {{192, 88, 99}, 24},
                                           {{192, 168}, 16},
                                           {{198, 18}, 15},
                                           {{198, 51, 100}, 24},
                                           {{203, 0, 113}, 24},
                                           {{224}, 4},
                                           {{240}, 4}}};
/// Of IPv6 only 2000::/3 is handed out; within it, what tunnels elsewhere or is for documentation.
constexpr std::array<Block, 3> specialV6{
    {{{0x20, 0x01, 0x00}, 23}, {{0x20, 0x01, 0x0d, 0xb8}, 32}, {{0x20, 0x02}, 16}}};
constexpr Block globalV6{{0x20}, 3};
constexpr Block translatedV4{{0x00, 0x64, 0xff, 0x9b}, 96};

template <typename Bytes>
bool contains(const Block& block, const Bytes& bytes) {
  for (unsigned bit = 0; bit < block.bits; ++bit) {
    const auto mask = static_cast<unsigned char>(0x80U >> (bit % 8));
    if (((block.first[bit / 8] ^ bytes[bit / 8]) & mask) != 0) return false;
  }
  return true;
}

template <typename Blocks, typename Bytes>
bool containAny(const Blocks& blocks, const Bytes& bytes) {
  return std::ranges::any_of(blocks, [&](const Block& block) { return contains(block, bytes); });
}

bool isPublicV4(const address_v4& address) {
  return !containAny(specialV4, address.to_bytes());
}

bool isPublicV6(const address_v6& address) {
  const auto bytes = address.to_bytes();
  const address_v4::bytes_type last{bytes[12], bytes[13], bytes[14], bytes[15]};
  if (address.is_v4_mapped() || contains(translatedV4, bytes)) return isPublicV4(address_v4(last));
  return contains(globalV6, bytes) && !containAny(specialV6, bytes);
}

bool isHostCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

std::vector<PushServices::Service> browsersServices() {
  return {{.host = "fcm.googleapis.com"},
          {.host = "updates.push.services.mozilla.com"},
          {.host = "*.push.apple.com"},
          {.host = "*.notify.windows.com"}};
}

}  // namespace

bool isPublicAddress(const address& address) {
  return address.is_v4() ? isPublicV4(address.to_v4()) : isPublicV6(address.to_v6());
}

std::expected<PushServices::Service, std::string> PushServices::Service::parsed(std::string_view text) {
  Service service;
  const auto colon = text.find(':');
  service.host = text.substr(0, colon);
  std::ranges::transform(service.host, service.host.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const std::string_view labels = std::string_view(service.host).substr(service.host.starts_with("*.") ? 2 : 0);
  bool good = !labels.empty() && !labels.starts_with('.') && std::ranges::all_of(labels, isHostCharacter);
  if (colon != std::string_view::npos) {
    const std::string_view digits = text.substr(colon + 1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), service.port);
    good = good && error == std::errc{} && end == digits.data() + digits.size() && service.port != 0;
  }
  if (!good) return std::unexpected(fmt::format("{} is no host and port such as push.example.org:8443", text));
  return service;
}

bool PushServices::Service::covers(const PushEndpoint& endpoint) const {
  if (endpoint.port != port) return false;
  if (!host.starts_with("*.")) return endpoint.host == host;
  const std::string_view suffix = std::string_view(host).substr(1);
  return endpoint.host.size() > suffix.size() && endpoint.host.ends_with(suffix);
}

PushServices::PushServices(std::vector<Service> named)
    : named_(!named.empty()), services_(named_ ? std::move(named) : browsersServices()) {}

bool PushServices::allow(const PushEndpoint& endpoint) const {
  return std::ranges::any_of(services_, [&](const Service& service) { return service.covers(endpoint); });
}

bool PushServices::mayBeInner(const PushEndpoint& endpoint) const {
  return named_ && std::ranges::any_of(services_, [&](const Service& service) {
           return service.host == endpoint.host && service.port == endpoint.port;
         });
}

}  // namespace tallyfox::server
