#pragma once

#include <boost/asio/awaitable.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "PairingRecords.hpp"
#include "StorageError.hpp"

namespace tallyfox::server {

/// What the relay remembers for good: pairings and their phones. Each call takes effect at once and as a whole, also
/// beside calls of other relays on the same store; a change is stored when its call has succeeded. After a failed
/// change it is uncertain whether it was made, and making it again does no harm. Names of pairings and devices are
/// identifiers. Must outlive the calls under way.
class PairingStore {
 public:
  template <typename Value>
  using Answer = boost::asio::awaitable<StorageResult<Value>>;

  /// What became of a phone that asked to be let in.
  enum class Admission {
    paired,         ///< it was already, or is now
    unpaired,       ///< by the owner, for good
    tooManyPhones,  ///< a new phone, and the pairing has as many as it may have
    noPairing,      ///< there is none of this name, or it was revoked
  };

  virtual ~PairingStore() = default;

  [[nodiscard]] virtual Answer<std::optional<PairingRecord>> pairing(std::string id) = 0;
  /// The pairing for which this token was registered last.
  [[nodiscard]] virtual Answer<std::optional<PairingRecord>> pairingOfToken(Sha256Digest tokenHash) = 0;
  /// Adds the pairing, or notes that its token was registered again. A pairing that is revoked or has another token is
  /// left as it is. The pairing as it stands then.
  [[nodiscard]] virtual Answer<PairingRecord> registerPairing(std::string id, Sha256Digest tokenHash) = 0;
  /// Marks the pairing, if there is one, and forgets its phones.
  [[nodiscard]] virtual Answer<void> revokePairing(std::string id) = 0;

  /// Paired phones, in the order in which they paired.
  [[nodiscard]] virtual Answer<std::vector<DeviceRecord>> pairedDevices(std::string pairingID) = 0;
  /// Pairs the phone unless the pairing has `greatest` others; one that is paired gets this name and platform. Its push
  /// endpoint is another matter: what the record says of it does not count.
  [[nodiscard]] virtual Answer<Admission> admitDevice(std::string pairingID, DeviceRecord device,
                                                      std::size_t greatest) = 0;
  /// Notes where a paired phone wants to be asked to look, or that it does not. False when there is no such phone.
  [[nodiscard]] virtual Answer<bool> setPushEndpoint(std::string pairingID, std::string id,
                                                     std::optional<std::string> endpoint) = 0;
  /// False when there is no such paired phone.
  [[nodiscard]] virtual Answer<bool> unpairDevice(std::string pairingID, std::string id) = 0;
  /// Forgets a paired phone, so that it may pair again; one that its owner unpaired stays unpaired.
  [[nodiscard]] virtual Answer<void> forgetDevice(std::string pairingID, std::string id) = 0;
};

}  // namespace tallyfox::server
