#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PairingRecords.hpp"
#include "StorageError.hpp"
#include "base/Crypto.hpp"

namespace tallyfox::server {

/// What the relay remembers across restarts: pairings and their phones. Every change is on the disk when its call
/// returns. For one thread.
class RelayDatabase {
 public:
  /// Opens relay.sqlite in the directory, creating both when missing, readable by this user alone. Fails on a directory
  /// or file that cannot be written, on a damaged or foreign database, and on one that another relay has open.
  [[nodiscard]] static StorageResult<RelayDatabase> open(const std::filesystem::path& directory);
  RelayDatabase(RelayDatabase&&) noexcept;
  RelayDatabase& operator=(RelayDatabase&&) noexcept;
  ~RelayDatabase();

  [[nodiscard]] StorageResult<std::optional<PairingRecord>> pairing(std::string_view id);
  /// The pairing for which this token was registered last.
  [[nodiscard]] StorageResult<std::optional<PairingRecord>> pairingOfToken(const Sha256Digest& tokenHash);
  /// Adds the pairing, or notes that its token was registered again.
  [[nodiscard]] StorageResult<void> registerPairing(std::string_view id, const Sha256Digest& tokenHash);
  /// Marks the pairing and forgets its phones.
  [[nodiscard]] StorageResult<void> revokePairing(std::string_view id);

  /// Paired phones, in the order in which they paired.
  [[nodiscard]] StorageResult<std::vector<DeviceRecord>> pairedDevices(std::string_view pairingID);
  [[nodiscard]] StorageResult<std::optional<DeviceRecord>> device(std::string_view pairingID, std::string_view id);
  /// Adds a phone, or changes its name and platform; its push endpoint stays.
  [[nodiscard]] StorageResult<void> saveDevice(std::string_view pairingID, const DeviceRecord& device);
  /// False when there is no such paired phone.
  [[nodiscard]] StorageResult<bool> setPushEndpoint(std::string_view pairingID, std::string_view id,
                                                    const std::optional<std::string>& endpoint);
  /// False when there is no such paired phone. Its push endpoint is forgotten.
  [[nodiscard]] StorageResult<bool> unpairDevice(std::string_view pairingID, std::string_view id);
  [[nodiscard]] StorageResult<void> forgetDevice(std::string_view pairingID, std::string_view id);

 private:
  struct State;
  explicit RelayDatabase(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace tallyfox::server
