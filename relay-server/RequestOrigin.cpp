#include "RequestOrigin.hpp"

#include <boost/beast/core/string.hpp>
#include <optional>
#include <string_view>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;

std::string_view viewOf(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

struct WebOrigin {
  std::string_view authority;    ///< host, and port unless it is the scheme's own
  std::string_view defaultPort;  ///< with its colon
};

/// Absent for anything but `http://AUTHORITY` and `https://AUTHORITY`, such as `null`.
std::optional<WebOrigin> parsedOrigin(std::string_view text) {
  for (const auto& [scheme, port] : {std::pair{"https://", ":443"}, std::pair{"http://", ":80"}}) {
    const std::string_view prefix = scheme;
    if (!boost::beast::iequals(text.substr(0, prefix.size()), prefix)) continue;
    const std::string_view authority = text.substr(prefix.size());
    if (authority.empty() || authority.contains('/')) return std::nullopt;
    return WebOrigin{.authority = authority, .defaultPort = port};
  }
  return std::nullopt;
}

bool names(const WebOrigin& origin, std::string_view host) {
  const auto withoutDefaultPort = [&origin](std::string_view authority) {
    if (authority.ends_with(origin.defaultPort)) authority.remove_suffix(origin.defaultPort.size());
    return authority;
  };
  return !host.empty() && boost::beast::iequals(withoutDefaultPort(origin.authority), withoutDefaultPort(host));
}

/// What the nearest proxy wrote.
std::string_view lastOf(std::string_view list) {
  const auto comma = list.rfind(',');
  if (comma != std::string_view::npos) list.remove_prefix(comma + 1);
  const auto first = list.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return list.substr(first, list.find_last_not_of(" \t") - first + 1);
}

}  // namespace

bool isFromAnotherSite(const http::fields& fields, bool throughTrustedProxy) {
  const auto origins = fields.count(http::field::origin);
  if (origins == 0) return false;
  const auto origin = parsedOrigin(viewOf(fields[http::field::origin]));
  if (origins > 1 || !origin) return true;
  if (names(*origin, viewOf(fields[http::field::host]))) return false;
  return !(throughTrustedProxy && names(*origin, lastOf(viewOf(fields["X-Forwarded-Host"]))));
}

}  // namespace tallyfox::server
