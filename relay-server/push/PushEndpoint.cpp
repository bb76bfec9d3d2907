#include "push/PushEndpoint.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/Url.hpp"

namespace tallyfox::server {

std::optional<PushEndpoint> PushEndpoint::parsed(std::string_view text) {
  if (text.size() > greatestLength) return std::nullopt;
  const auto url = Url::parsed(text);
  if (!url || url->scheme != "https" || !url->host || url->user || url->fragment || url->port == 0) return std::nullopt;
  PushEndpoint endpoint{.host = *url->host, .target = url->path.empty() ? "/" : url->path};
  std::ranges::transform(endpoint.host, endpoint.host.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  endpoint.port = url->port.value_or(endpoint.port);
  if (url->query) endpoint.target += "?" + *url->query;
  return endpoint;
}

std::string PushEndpoint::authority() const {
  const std::string name = host.contains(':') ? "[" + host + "]" : host;
  return port == 443 ? name : fmt::format("{}:{}", name, port);
}

}  // namespace tallyfox::server
