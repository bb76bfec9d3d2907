#include "NatsPairingStore.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <random>
#include <thread>
#include <utility>

#include "base/Encoding.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

/// As many changes of one pairing at once as all its phones and its agent can ask for.
constexpr int greatestAttempts = 32;

std::string pairingKey(const std::string& id) {
  return "pairing." + id;
}

std::string tokenKey(const Sha256Digest& hash) {
  return "token." + hexEncoded(hash);
}

/// Lets the others get ahead, for longer each time.
void stepBack(int attempt) {
  static thread_local std::minstd_rand random{std::random_device{}()};
  std::this_thread::sleep_for(std::chrono::microseconds(random() % (500U * static_cast<unsigned>(attempt + 1))));
}

std::optional<Sha256Digest> digestOf(std::string_view hex) {
  Sha256Digest digest{};
  if (hex.size() != 2 * digest.size()) return std::nullopt;
  for (std::size_t at = 0; at < digest.size(); ++at) {
    const char* const digits = hex.data() + 2 * at;
    const auto [end, error] = std::from_chars(digits, digits + 2, digest.at(at), 16);
    if (error != std::errc{} || end != digits + 2) return std::nullopt;
  }
  return digest;
}

DeviceRecord deviceIn(JsonObjectReader& reader) {
  return {.id = reader.string("id"),
          .name = reader.string("name"),
          .platform = reader.optionalString("platform"),
          .unpaired = reader.optionalBoolean("unpaired").value_or(false),
          .pushEndpoint = reader.optionalString("pushEndpoint")};
}

}  // namespace

std::string NatsPairingStore::Stored::encoded() const {
  Json list = Json::array();
  for (const DeviceRecord& device : devices) {
    Json each{{"id", device.id}, {"name", device.name}};
    if (device.platform) each["platform"] = *device.platform;
    if (device.unpaired) each["unpaired"] = true;
    if (device.pushEndpoint) each["pushEndpoint"] = *device.pushEndpoint;
    list.push_back(std::move(each));
  }
  return jsonText({{"tokenHash", hexEncoded(record.tokenHash)}, {"revoked", record.revoked}, {"devices", list}});
}

StorageResult<NatsPairingStore::Stored> NatsPairingStore::Stored::decoded(const std::string& id,
                                                                          const std::string& text) {
  const auto damaged = std::unexpected(StorageError{"a stored pairing is damaged"});
  const auto value = parsedJson(text);
  if (!value) return damaged;
  JsonObjectReader reader(*value);
  const auto hash = digestOf(reader.string("tokenHash"));
  if (!hash) return damaged;
  Stored stored{.record = {.id = id, .tokenHash = *hash, .revoked = reader.boolean("revoked")}};
  const Json& devices = reader.member("devices");
  if (reader.error() || !devices.is_array()) return damaged;
  for (const Json& device : devices) {
    JsonObjectReader each(device);
    stored.devices.push_back(deviceIn(each));
    if (each.error()) return damaged;
  }
  return stored;
}

StorageResult<NatsPairingStore::Found> NatsPairingStore::found(const std::string& id) {
  const auto entry = buckets_.pairingEntry(pairingKey(id));
  if (!entry) return std::unexpected(entry.error());
  if (!*entry) return Found{};
  auto stored = Stored::decoded(id, (*entry)->value);
  if (!stored) return std::unexpected(stored.error());
  return Found{.stored = std::move(*stored), .revision = (*entry)->revision};
}

StorageResult<std::optional<NatsPairingStore::Stored>> NatsPairingStore::changed(
    const std::string& id, const std::function<std::optional<Stored>(std::optional<Stored>)>& change) {
  for (int attempt = 0; attempt < greatestAttempts; ++attempt) {
    const auto before = found(id);
    if (!before) return std::unexpected(before.error());
    auto after = change(before->stored);
    if (!after || after == before->stored) return after;
    const auto written = buckets_.writePairingEntry(pairingKey(id), after->encoded(), before->revision);
    if (!written) return std::unexpected(written.error());
    if (*written == NatsBuckets::Written::yes) return after;
    stepBack(attempt);
  }
  return std::unexpected(StorageError{"too many changes of one pairing at once"});
}

PairingStore::Answer<std::optional<PairingRecord>> NatsPairingStore::pairing(std::string id) {
  auto work = [this, id]() -> StorageResult<std::optional<PairingRecord>> {
    const auto known = found(id);
    if (!known) return std::unexpected(known.error());
    return known->stored ? std::optional(known->stored->record) : std::nullopt;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<std::optional<PairingRecord>> NatsPairingStore::pairingOfToken(Sha256Digest tokenHash) {
  auto work = [this, tokenHash]() -> StorageResult<std::optional<PairingRecord>> {
    const auto id = buckets_.pairingEntry(tokenKey(tokenHash));
    if (!id) return std::unexpected(id.error());
    if (!*id) return std::nullopt;
    const auto known = found((*id)->value);
    if (!known) return std::unexpected(known.error());
    return known->stored ? std::optional(known->stored->record) : std::nullopt;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<PairingRecord> NatsPairingStore::registerPairing(std::string id, Sha256Digest tokenHash) {
  auto work = [this, id, tokenHash]() -> StorageResult<PairingRecord> {
    const auto registered = changed(id, [&](std::optional<Stored> before) {
      return before ? before : Stored{.record = {.id = id, .tokenHash = tokenHash}};
    });
    if (!registered) return std::unexpected(registered.error());
    const PairingRecord record = (*registered)->record;
    if (record.revoked || record.tokenHash != tokenHash) return record;
    // Should this fail, the agent registers again.
    if (const auto named = buckets_.putPairingEntry(tokenKey(tokenHash), id); !named) {
      return std::unexpected(named.error());
    }
    return record;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<void> NatsPairingStore::revokePairing(std::string id) {
  auto work = [this, id]() -> StorageResult<void> {
    const auto revoked = changed(id, [](std::optional<Stored> pairing) {
      if (pairing) {
        pairing->record.revoked = true;
        pairing->devices.clear();
      }
      return pairing;
    });
    if (!revoked) return std::unexpected(revoked.error());
    return {};
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<std::vector<DeviceRecord>> NatsPairingStore::pairedDevices(std::string pairingID) {
  auto work = [this, pairingID]() -> StorageResult<std::vector<DeviceRecord>> {
    auto known = found(pairingID);
    if (!known) return std::unexpected(known.error());
    if (!known->stored) return std::vector<DeviceRecord>{};
    std::erase_if(known->stored->devices, [](const DeviceRecord& device) { return device.unpaired; });
    return std::move(known->stored->devices);
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<PairingStore::Admission> NatsPairingStore::admitDevice(std::string pairingID, DeviceRecord device,
                                                                            std::size_t greatest) {
  auto work = [this, pairingID, device, greatest]() -> StorageResult<Admission> {
    Admission admission = Admission::noPairing;
    const auto stored = changed(pairingID, [&](std::optional<Stored> pairing) {
      admission = Admission::noPairing;
      if (!pairing || pairing->record.revoked) return pairing;
      admission = Admission::paired;
      const auto known = std::ranges::find(pairing->devices, device.id, &DeviceRecord::id);
      if (known == pairing->devices.end()) {
        const auto paired = std::ranges::count(pairing->devices, false, &DeviceRecord::unpaired);
        if (static_cast<std::size_t>(paired) < greatest) {
          pairing->devices.push_back({.id = device.id, .name = device.name, .platform = device.platform});
        } else {
          admission = Admission::tooManyPhones;
        }
      } else if (known->unpaired) {
        admission = Admission::unpaired;
      } else {
        known->name = device.name;
        known->platform = device.platform;
      }
      return pairing;
    });
    if (!stored) return std::unexpected(stored.error());
    return admission;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<bool> NatsPairingStore::setPushEndpoint(std::string pairingID, std::string id,
                                                             std::optional<std::string> endpoint) {
  auto work = [this, pairingID, id, endpoint]() -> StorageResult<bool> {
    bool isPaired = false;
    const auto stored = changed(pairingID, [&](std::optional<Stored> pairing) {
      isPaired = false;
      if (!pairing) return pairing;
      const auto known = std::ranges::find(pairing->devices, id, &DeviceRecord::id);
      isPaired = known != pairing->devices.end() && !known->unpaired;
      if (isPaired) known->pushEndpoint = endpoint;
      return pairing;
    });
    if (!stored) return std::unexpected(stored.error());
    return isPaired;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<bool> NatsPairingStore::unpairDevice(std::string pairingID, std::string id) {
  auto work = [this, pairingID, id]() -> StorageResult<bool> {
    bool unpaired = false;
    const auto stored = changed(pairingID, [&](std::optional<Stored> pairing) {
      unpaired = false;
      if (!pairing) return pairing;
      const auto known = std::ranges::find(pairing->devices, id, &DeviceRecord::id);
      if (known == pairing->devices.end()) return pairing;
      unpaired = !std::exchange(known->unpaired, true);
      known->pushEndpoint.reset();
      return pairing;
    });
    if (!stored) return std::unexpected(stored.error());
    return unpaired;
  };
  co_return co_await connection_.run(std::move(work));
}

PairingStore::Answer<void> NatsPairingStore::forgetDevice(std::string pairingID, std::string id) {
  auto work = [this, pairingID, id]() -> StorageResult<void> {
    const auto stored = changed(pairingID, [&](std::optional<Stored> pairing) {
      if (pairing) {
        std::erase_if(pairing->devices,
                      [&](const DeviceRecord& device) { return device.id == id && !device.unpaired; });
      }
      return pairing;
    });
    if (!stored) return std::unexpected(stored.error());
    return {};
  };
  co_return co_await connection_.run(std::move(work));
}

}  // namespace tallyfox::server
