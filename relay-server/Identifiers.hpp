#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tallyfox::server {

inline constexpr std::size_t pairingIDCharacters = 128;
inline constexpr std::size_t deviceIDCharacters = 64;

/// 1 to `longest` characters of A-Z a-z 0-9 _ and -: safe in addresses, logs and file names.
[[nodiscard]] inline bool isIdentifier(std::string_view text, std::size_t longest) {
  return !text.empty() && text.size() <= longest && std::ranges::all_of(text, [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

}  // namespace tallyfox::server
