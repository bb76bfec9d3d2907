#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tallyfox::linux_os {

/// Where a request goes, taken from its URL.
struct NetworkAddress {
  bool isSecure = false;
  std::string host;        ///< a name or an IP literal without brackets
  std::string port;        ///< digits; the scheme's own when the URL names none
  std::string hostHeader;  ///< as the Host header has it
  std::string target;      ///< path and query

  /// Absent unless the text is an absolute URL with a host and one of the two schemes (in lower case).
  [[nodiscard]] static std::optional<NetworkAddress> parsed(std::string_view url, std::string_view plainScheme,
                                                            std::string_view secureScheme);
  bool operator==(const NetworkAddress&) const = default;
};

}  // namespace tallyfox::linux_os
