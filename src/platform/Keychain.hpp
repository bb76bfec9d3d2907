#pragma once

#include <cstdint>
#include <expected>
#include <string>

#include "base/Bytes.hpp"

namespace tallyfox {

/// A keychain status: 0 success, else one of these or another code of the platform.
using KeychainStatus = std::int32_t;
namespace keychain_status {
inline constexpr KeychainStatus success = 0;
inline constexpr KeychainStatus duplicateItem = -25299;
inline constexpr KeychainStatus itemNotFound = -25300;
inline constexpr KeychainStatus missingEntitlement = -34018;     ///< this kind of keychain is not there for us
inline constexpr KeychainStatus notAvailable = -25291;           ///< it is, but cannot be read or written now
inline constexpr KeychainStatus interactionNotAllowed = -25308;  ///< it is locked, and only its owner can unlock it
}  // namespace keychain_status

struct KeychainItem {
  std::string service;
  std::string account;
  bool useDataProtectionKeychain = false;  ///< else the legacy keychain
  bool operator==(const KeychainItem&) const = default;
};

/// Generic passwords in two keychains. Calls block; any thread. Values are never logged.
class Keychain {
 public:
  virtual ~Keychain() = default;
  /// Replaces the value of an existing item.
  [[nodiscard]] virtual KeychainStatus update(const KeychainItem& item, ByteView value) = 0;
  /// Adds a new item, readable after first unlock, on this device only; duplicateItem when it exists.
  [[nodiscard]] virtual KeychainStatus add(const KeychainItem& item, ByteView value) = 0;
  [[nodiscard]] virtual std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) = 0;
  [[nodiscard]] virtual KeychainStatus remove(const KeychainItem& item) = 0;
};

}  // namespace tallyfox
