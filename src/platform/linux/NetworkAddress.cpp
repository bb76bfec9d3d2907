#include "platform/linux/NetworkAddress.hpp"

#include "base/Url.hpp"

namespace tallyfox::linux_os {

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

}  // namespace tallyfox::linux_os
