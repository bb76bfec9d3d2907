#pragma once

#include <utility>

#include "PairingStore.hpp"
#include "RelayDatabase.hpp"

namespace tallyfox::server {

/// The store of a relay on one machine: the database answers at once, so no call waits.
class SqlitePairingStore final : public PairingStore {
 public:
  explicit SqlitePairingStore(RelayDatabase database) : database_(std::move(database)) {}

  Answer<std::optional<PairingRecord>> pairing(std::string id) override;
  Answer<std::optional<PairingRecord>> pairingOfToken(Sha256Digest tokenHash) override;
  Answer<PairingRecord> registerPairing(std::string id, Sha256Digest tokenHash) override;
  Answer<void> revokePairing(std::string id) override;
  Answer<std::vector<DeviceRecord>> pairedDevices(std::string pairingID) override;
  Answer<Admission> admitDevice(std::string pairingID, DeviceRecord device, std::size_t greatest) override;
  Answer<bool> setPushEndpoint(std::string pairingID, std::string id, std::optional<std::string> endpoint) override;
  Answer<bool> unpairDevice(std::string pairingID, std::string id) override;
  Answer<void> forgetDevice(std::string pairingID, std::string id) override;

 private:
  [[nodiscard]] StorageResult<PairingRecord> registered(const std::string& id, const Sha256Digest& tokenHash);
  [[nodiscard]] StorageResult<Admission> admitted(const std::string& pairingID, const DeviceRecord& device,
                                                  std::size_t greatest);
  [[nodiscard]] StorageResult<void> forgotten(const std::string& pairingID, const std::string& id);

  RelayDatabase database_;
};

}  // namespace tallyfox::server
