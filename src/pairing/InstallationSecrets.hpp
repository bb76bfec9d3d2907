#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>

#include "base/Crypto.hpp"
#include "base/Json.hpp"

namespace tallyfox {

/// This installation's identity towards relay and phone. Never logged.
struct InstallationSecrets {
  std::string pairingID;       ///< prefix, "-", 32 lower-case hexadecimal digits
  std::string relayAuthToken;  ///< 64 lower-case hexadecimal digits
  std::string e2eSecret;       ///< 64 lower-case hexadecimal digits

  bool operator==(const InstallationSecrets&) const = default;
  /// All three non-empty without surrounding white space.
  [[nodiscard]] bool isUsable() const;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<InstallationSecrets, DecodingError> decoded(const Json& value);
};

/// Fills with random bytes; false when it cannot.
using RandomSource = bool (*)(std::span<std::uint8_t>);

/// Lower-case hexadecimal text of that many secure random bytes; 64 digits from two random UUIDs when the source fails.
[[nodiscard]] std::string randomHex(std::size_t byteCount, RandomSource source = fillWithSecureRandom);
/// A new pairing id; the part of a seed before its first "-", sanitised, becomes the prefix.
[[nodiscard]] std::string createdPairingID(const std::string* seed);

}  // namespace tallyfox
