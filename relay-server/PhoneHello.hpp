#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "base/Json.hpp"

namespace tallyfox::server {

inline constexpr std::size_t deviceNameCharacters = 100;

/// The first frame of a phone: which pairing it belongs to, the proof, and what it calls itself.
struct PhoneHello {
  std::string pairingID;
  std::string relaySecret;
  std::string deviceID;
  std::string deviceName;
  std::optional<std::string> platform{};
  bool operator==(const PhoneHello&) const = default;

  [[nodiscard]] static std::expected<PhoneHello, DecodingError> decoded(std::string_view frame);
};

}  // namespace tallyfox::server
