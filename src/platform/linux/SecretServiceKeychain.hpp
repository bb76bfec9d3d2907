#pragma once

#include <string>
#include <utility>

#include "platform/Environment.hpp"
#include "platform/Keychain.hpp"

namespace tallyfox::linux_os {

/// The data protection keychain: items in the default collection of the desktop's Secret Service, found by the
/// attributes "service" and "account" under a schema of our own. Answers
/// - missingEntitlement without a session bus, a service on it, or a default collection in that;
/// - interactionNotAllowed while the collection or the item is locked, also for what it does not hold: a locked
///   collection tells nothing for sure, and an identity taken for missing would be replaced;
/// - notAvailable when the service hangs, ends, or fails in another way: each call takes at most a few seconds.
/// Never unlocks and never lets a dialog be opened: a background agent has no business asking for a password.
class SecretServiceKeychain : public Keychain {
 public:
  /// The address of a session bus; without one there is no service.
  explicit SecretServiceKeychain(std::string sessionBusAddress) : sessionBusAddress_(std::move(sessionBusAddress)) {}

  KeychainStatus update(const KeychainItem& item, ByteView value) override;
  KeychainStatus add(const KeychainItem& item, ByteView value) override;
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override;
  /// Removes all that match: another program may have left a second one.
  KeychainStatus remove(const KeychainItem& item) override;

 private:
  std::string sessionBusAddress_;
};

/// $DBUS_SESSION_BUS_ADDRESS, else the bus in $XDG_RUNTIME_DIR; empty without either.
[[nodiscard]] std::string sessionBusAddress(Environment& environment);

}  // namespace tallyfox::linux_os
