#include "MeasuredStore.hpp"

#include <utility>

namespace tallyfox::server {

template <typename Value>
PairingStore::Answer<Value> MeasuredStore::measured(Histogram& seconds, Answer<Value> answer) {
  const StopWatch watch(seconds);
  auto result = co_await std::move(answer);
  if (!result) ++metrics_.storageFailures;
  co_return result;
}

PairingStore::Answer<std::optional<PairingRecord>> MeasuredStore::pairing(std::string id) {
  return measured(metrics_.storageReadSeconds, store_->pairing(std::move(id)));
}

PairingStore::Answer<std::optional<PairingRecord>> MeasuredStore::pairingOfToken(Sha256Digest tokenHash) {
  return measured(metrics_.storageReadSeconds, store_->pairingOfToken(tokenHash));
}

PairingStore::Answer<PairingRecord> MeasuredStore::registerPairing(std::string id, Sha256Digest tokenHash) {
  return measured(metrics_.storageWriteSeconds, store_->registerPairing(std::move(id), tokenHash));
}

PairingStore::Answer<void> MeasuredStore::revokePairing(std::string id) {
  return measured(metrics_.storageWriteSeconds, store_->revokePairing(std::move(id)));
}

PairingStore::Answer<std::vector<DeviceRecord>> MeasuredStore::pairedDevices(std::string pairingID) {
  return measured(metrics_.storageReadSeconds, store_->pairedDevices(std::move(pairingID)));
}

PairingStore::Answer<PairingStore::Admission> MeasuredStore::admitDevice(std::string pairingID, DeviceRecord device,
                                                                         std::size_t greatest) {
  return measured(metrics_.storageWriteSeconds, store_->admitDevice(std::move(pairingID), std::move(device), greatest));
}

PairingStore::Answer<bool> MeasuredStore::setPushEndpoint(std::string pairingID, std::string id,
                                                          std::optional<std::string> endpoint) {
  return measured(metrics_.storageWriteSeconds,
                  store_->setPushEndpoint(std::move(pairingID), std::move(id), std::move(endpoint)));
}

PairingStore::Answer<bool> MeasuredStore::unpairDevice(std::string pairingID, std::string id) {
  return measured(metrics_.storageWriteSeconds, store_->unpairDevice(std::move(pairingID), std::move(id)));
}

PairingStore::Answer<void> MeasuredStore::forgetDevice(std::string pairingID, std::string id) {
  return measured(metrics_.storageWriteSeconds, store_->forgetDevice(std::move(pairingID), std::move(id)));
}

}  // namespace tallyfox::server
