#pragma once

#include <expected>
#include <string>

#include "base/Json.hpp"

namespace tallyfox {

/// What a phone needs to pair. Whoever sees it can pair: shown by the owner's own window or command only.
struct PairingPayload {
  std::string type = "tallyfox.pairing";
  std::int64_t version = 1;
  std::string backendURL;
  std::string pairingID;
  std::string relaySecret;  ///< empty without credentials
  std::string e2eSecret;    ///< empty without credentials
  bool operator==(const PairingPayload&) const = default;

  /// Compact JSON in declaration order, "/" written as "\/".
  [[nodiscard]] std::string encoded() const;
  /// Fails for another type or version.
  [[nodiscard]] static std::expected<PairingPayload, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox
