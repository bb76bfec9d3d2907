#pragma once

#include <memory>

#include "metrics/RelayMetrics.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// A store whose answers are timed and whose failures are counted.
class MeasuredStore final : public PairingStore {
 public:
  MeasuredStore(std::unique_ptr<PairingStore> store, RelayMetrics& metrics)
      : store_(std::move(store)), metrics_(metrics) {}

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
  template <typename Value>
  Answer<Value> measured(Histogram& seconds, Answer<Value> answer);

  std::unique_ptr<PairingStore> store_;
  RelayMetrics& metrics_;
};

}  // namespace tallyfox::server
