#include "platform/macos/NetworkRequests.hpp"

#include <algorithm>

#include "base/Text.hpp"
#include "base/Url.hpp"

namespace tallyfox::mac_os {

std::optional<std::string> requestAddress(std::string_view url, std::initializer_list<std::string_view> schemes) {
  auto parts = Url::parsed(url);
  if (!parts || !parts->host || !parts->scheme || std::ranges::find(schemes, *parts->scheme) == schemes.end())
    return std::nullopt;
  parts->fragment = std::nullopt;
  return parts->text();
}

bool isSendable(std::string_view method, const HeaderList& headers) {
  return areHeadersWellFormed({{std::string(method), ""}}) && areHeadersWellFormed(headers) &&
         std::ranges::all_of(headers, [](const auto& header) { return isValidUtf8(header.second); });
}

}  // namespace tallyfox::mac_os
