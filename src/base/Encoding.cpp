#include "base/Encoding.hpp"

#include <algorithm>
#include <cstdint>

#include "base/Base64Blocks.hpp"

namespace tallyfox {
namespace {

constexpr std::string_view base64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int sextet(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

}  // namespace

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
  const std::size_t length = (bytes.size() + 2) / 3 * 4;
  std::string text;
  // The length that the library hands over may be the capacity.
  text.resize_and_overwrite(length, [bytes, length](char* output, std::size_t /*capacity*/) {
    std::size_t at = encodeBase64Blocks(bytes, output);
    for (char* group = output + at / 3 * 4; at < bytes.size(); at += 3, group += 4) {
      const std::size_t taken = std::min<std::size_t>(3, bytes.size() - at);
      std::uint32_t bits = 0;
      for (std::size_t i = 0; i < 3; ++i)
        bits = (bits << 8U) | (i < taken ? bytes[at + i] : 0U);
      for (std::size_t i = 0; i < 4; ++i)
        group[i] = i <= taken ? base64Alphabet[(bits >> (18U - 6U * i)) & 0x3FU] : '=';
    }
    return length;
  });
  return text;
}

std::optional<Bytes> base64Decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
    ++padding;
  Bytes bytes(text.size() / 4 * 3 - padding);
  const std::string_view digits = text.substr(0, text.size() - padding);
  const std::size_t decoded = decodeBase64Blocks(digits, bytes.data());
  std::uint8_t* next = bytes.data() + decoded / 4 * 3;
  std::uint32_t bits = 0;
  std::size_t held = 0;
  for (const char c : digits.substr(decoded)) {
    const int value = sextet(c);
    if (value < 0) return std::nullopt;
    bits = (bits << 6U) | static_cast<std::uint32_t>(value);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    *next++ = static_cast<std::uint8_t>(bits >> held);
  }
  // What is left over must be zero, or two texts would decode to the same bytes.
  if ((bits & ((1U << held) - 1U)) != 0) return std::nullopt;
  return bytes;
}

}  // namespace tallyfox
