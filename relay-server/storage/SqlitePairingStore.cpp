#include "SqlitePairingStore.hpp"

namespace tallyfox::server {

PairingStore::Answer<std::optional<PairingRecord>> SqlitePairingStore::pairing(std::string id) {
  co_return database_.pairing(id);
}

PairingStore::Answer<std::optional<PairingRecord>> SqlitePairingStore::pairingOfToken(Sha256Digest tokenHash) {
  co_return database_.pairingOfToken(tokenHash);
}

PairingStore::Answer<PairingRecord> SqlitePairingStore::registerPairing(std::string id, Sha256Digest tokenHash) {
  co_return registered(id, tokenHash);
}

PairingStore::Answer<void> SqlitePairingStore::revokePairing(std::string id) {
  co_return database_.revokePairing(id);
}

PairingStore::Answer<std::vector<DeviceRecord>> SqlitePairingStore::pairedDevices(std::string pairingID) {
  co_return database_.pairedDevices(pairingID);
}

PairingStore::Answer<PairingStore::Admission> SqlitePairingStore::admitDevice(std::string pairingID,
                                                                              DeviceRecord device,
                                                                              std::size_t greatest) {
  co_return admitted(pairingID, device, greatest);
}

PairingStore::Answer<bool> SqlitePairingStore::setPushEndpoint(std::string pairingID, std::string id,
                                                               std::optional<std::string> endpoint) {
  co_return database_.setPushEndpoint(pairingID, id, endpoint);
}

PairingStore::Answer<bool> SqlitePairingStore::unpairDevice(std::string pairingID, std::string id) {
  co_return database_.unpairDevice(pairingID, id);
}

PairingStore::Answer<void> SqlitePairingStore::forgetDevice(std::string pairingID, std::string id) {
  co_return forgotten(pairingID, id);
}

StorageResult<PairingRecord> SqlitePairingStore::registered(const std::string& id, const Sha256Digest& tokenHash) {
  const auto known = database_.pairing(id);
  if (!known) return std::unexpected(known.error());
  if (*known && ((*known)->revoked || (*known)->tokenHash != tokenHash)) return **known;
  if (const auto stored = database_.registerPairing(id, tokenHash); !stored) return std::unexpected(stored.error());
  return PairingRecord{.id = id, .tokenHash = tokenHash};
}

StorageResult<PairingStore::Admission> SqlitePairingStore::admitted(const std::string& pairingID,
                                                                    const DeviceRecord& device, std::size_t greatest) {
  const auto pairing = database_.pairing(pairingID);
  if (!pairing) return std::unexpected(pairing.error());
  if (!*pairing || (*pairing)->revoked) return Admission::noPairing;
  const auto known = database_.device(pairingID, device.id);
  if (!known) return std::unexpected(known.error());
  if (*known && (*known)->unpaired) return Admission::unpaired;
  if (*known && (*known)->name == device.name && (*known)->platform == device.platform) return Admission::paired;
  if (!*known) {
    const auto paired = database_.pairedDevices(pairingID);
    if (!paired) return std::unexpected(paired.error());
    if (paired->size() >= greatest) return Admission::tooManyPhones;
  }
  if (const auto saved = database_.saveDevice(pairingID, device); !saved) return std::unexpected(saved.error());
  return Admission::paired;
}

StorageResult<void> SqlitePairingStore::forgotten(const std::string& pairingID, const std::string& id) {
  const auto known = database_.device(pairingID, id);
  if (!known) return std::unexpected(known.error());
  if (!*known || (*known)->unpaired) return {};
  return database_.forgetDevice(pairingID, id);
}

}  // namespace tallyfox::server
