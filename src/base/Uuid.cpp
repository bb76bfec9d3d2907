#include "base/Uuid.hpp"

#include "base/Crypto.hpp"
#include "base/Require.hpp"

namespace tallyfox {

Uuid Uuid::random() {
  Uuid id;
  require(fillWithSecureRandom(id.bytes), "the secure random source answers");
  id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0FU) | 0x40U);
  id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3FU) | 0x80U);
  return id;
}

std::optional<Uuid> Uuid::parsed(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  const auto digit = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
  };
  Uuid id;
  std::size_t at = 0;
  for (auto& byte : id.bytes) {
    if (at == 8 || at == 13 || at == 18 || at == 23) {
      if (text[at++] != '-') return std::nullopt;
    }
    const int high = digit(text[at++]);
    const int low = digit(text[at++]);
    if (high < 0 || low < 0) return std::nullopt;
    byte = static_cast<std::uint8_t>(high * 16 + low);
  }
  return id;
}

std::string Uuid::text() const {
  static constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  result.reserve(36);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (at == 4 || at == 6 || at == 8 || at == 10) result += '-';
    result += digits[bytes[at] >> 4U];
    result += digits[bytes[at] & 0x0FU];
  }
  return result;
}

}  // namespace tallyfox

std::size_t std::hash<tallyfox::Uuid>::operator()(const tallyfox::Uuid& id) const noexcept {
  return std::hash<std::string_view>()({reinterpret_cast<const char*>(id.bytes.data()), id.bytes.size()});
}
