#pragma once

#include <expected>
#include <optional>
#include <string>

#include "base/Json.hpp"

namespace tallyfox::phone {

/// What this phone knows of its pairing. Holds secrets: stored for this user alone, never printed.
struct PhonePairing {
  std::string backendURL;  ///< http or https base address of the relay
  std::string pairingID;
  std::string relaySecret;
  std::string e2eSecret;
  std::string deviceID;    ///< this phone, as the relay tells phones apart
  std::string deviceName;  ///< 1 to 100 characters

  bool operator==(const PhonePairing&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<PhonePairing, DecodingError> decoded(const Json& value);
};

/// A new phone of a pairing from its pairing code (the JSON text that the QR code holds). Fails with a sentence: not a
/// pairing code, a code without credentials, a relay address that is none, a name that is too long.
[[nodiscard]] std::expected<PhonePairing, std::string> pairingFromCode(const std::string& code, std::string deviceName);

/// DATA_HOME/tallyfox-phone/phone.json, mode 0600, replaced as a whole. Failures are sentences.
class PhoneStore {
 public:
  explicit PhoneStore(std::string dataHome) : dataHome_(std::move(dataHome)) {}
  /// Absent when this phone is not paired.
  [[nodiscard]] std::expected<std::optional<PhonePairing>, std::string> load() const;
  [[nodiscard]] std::expected<void, std::string> save(const PhonePairing& pairing) const;
  [[nodiscard]] std::expected<void, std::string> forget() const;

 private:
  std::string dataHome_;
};

}  // namespace tallyfox::phone
