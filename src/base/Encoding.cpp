#include "base/Encoding.hpp"

#include <algorithm>
#include <cstdint>

namespace tallyfox {

std::string hexEncoded(ByteView bytes) {
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4U];
    text += digits[byte & 0x0FU];
  }
  return text;
}

std::string base64Encoded(ByteView bytes) {
  static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t taken = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = (group << 8U) | (i < taken ? bytes[at + i] : 0U);
    for (std::size_t i = 0; i < 4; ++i)
      text += i <= taken ? alphabet[(group >> (18U - 6U * i)) & 0x3FU] : '=';
  }
  return text;
}

std::optional<Bytes> base64Decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const auto sextet = [](char c) -> int {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    return c == '/' ? 63 : -1;
  };
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
    ++padding;
  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  std::size_t held = 0;
  for (const char c : text.substr(0, text.size() - padding)) {
    const int value = sextet(c);
    if (value < 0) return std::nullopt;
    bits = (bits << 6U) | static_cast<std::uint32_t>(value);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> held));
  }
  // What is left over must be zero, or two texts would decode to the same bytes.
  if ((bits & ((1U << held) - 1U)) != 0) return std::nullopt;
  return bytes;
}

}  // namespace tallyfox
