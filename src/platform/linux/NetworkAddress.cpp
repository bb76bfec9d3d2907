#include "platform/linux/NetworkAddress.hpp"

#include <algorithm>

#include "base/Url.hpp"

namespace tallyfox::linux_os {
namespace {

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

bool isNameCharacter(char c) {
  return !isControl(c) && c != ' ' && c != ':' && static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

std::optional<NetworkAddress> NetworkAddress::parsed(std::string_view url, std::string_view plainScheme,
                                                     std::string_view secureScheme) {
  const auto parts = Url::parsed(url);
  if (!parts || !parts->host || (parts->scheme != plainScheme && parts->scheme != secureScheme)) return std::nullopt;
  NetworkAddress address;
  address.isSecure = parts->scheme == secureScheme;
  address.host = *parts->host;
  address.port = std::to_string(parts->port.value_or(address.isSecure ? 443 : 80));
  address.hostHeader = address.host.find(':') == std::string::npos ? address.host : "[" + address.host + "]";
  if (parts->port) address.hostHeader += ":" + address.port;
  address.target = parts->path.empty() ? "/" : parts->path;
  if (parts->query) address.target += "?" + *parts->query;
  return address;
}

bool areHeadersWellFormed(const HeaderList& headers) {
  return std::ranges::all_of(headers, [](const auto& header) {
    return !header.first.empty() && std::ranges::all_of(header.first, isNameCharacter) &&
           std::ranges::none_of(header.second, isControl);
  });
}

}  // namespace tallyfox::linux_os
