#pragma once

#include <functional>
#include <variant>

#include "NatsBuckets.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// The store of a cluster. A pairing is one entry, `pairing.ID`, which is changed as a whole or not at all;
/// `token.HASH` names the pairing of a token.
class NatsPairingStore final : public PairingStore {
 public:
  NatsPairingStore(NatsConnection& connection, NatsBuckets& buckets) : connection_(connection), buckets_(buckets) {}

  Answer<std::optional<PairingRecord>> pairing(std::string id) override;
  Answer<std::optional<PairingRecord>> pairingOfToken(Sha256Digest tokenHash) override;
  Answer<PairingRecord> registerPairing(std::string id, Sha256Digest tokenHash) override;
  Answer<void> revokePairing(std::string id) override;
  Answer<std::vector<DeviceRecord>> pairedDevices(std::string pairingID) override;
  Answer<Admission> admitDevice(std::string pairingID, DeviceRecord device, std::size_t greatest) override;
  Answer<bool> setPushEndpoint(std::string pairingID, std::string id, std::optional<std::string> endpoint) override;
  Answer<bool> unpairDevice(std::string pairingID, std::string id) override;
  Answer<void> forgetDevice(std::string pairingID, std::string id) override;

  /// A pairing as it is stored.
  struct Stored {
    PairingRecord record;
    std::vector<DeviceRecord> devices{};
    bool operator==(const Stored&) const = default;

    [[nodiscard]] std::string encoded() const;
    [[nodiscard]] static StorageResult<Stored> decoded(const std::string& id, const std::string& text);
  };

 private:
  struct Found {
    std::optional<Stored> stored;
    std::uint64_t revision = 0;
  };

  [[nodiscard]] StorageResult<Found> found(const std::string& id);
  /// Changes the entry, however many others do so at once. `change` makes of it what it is to be, and may be asked
  /// again after another's change.
  [[nodiscard]] StorageResult<std::optional<Stored>> changed(
      const std::string& id, const std::function<std::optional<Stored>(std::optional<Stored>)>& change);

  NatsConnection& connection_;
  NatsBuckets& buckets_;
};

}  // namespace tallyfox::server
