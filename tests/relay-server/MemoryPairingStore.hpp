#pragma once

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "storage/PairingStore.hpp"

namespace tallyfox::server::testing {

/// A store in memory that a test can slow down and break: while it holds, calls wait, either before they take effect or
/// with their answer; while it fails, they change nothing.
class MemoryPairingStore final : public PairingStore {
 public:
  enum class Hold { nothing, calls, answers };

  Hold holding = Hold::nothing;
  std::string failure;             ///< what calls fail with, unless empty
  std::vector<std::string> calls;  ///< the names of the calls, as they came

  [[nodiscard]] std::size_t waiting() const { return gates_.size(); }
  /// Lets the oldest waiting call or answer go.
  void releaseOne() { gates_.front()->cancel(); }
  /// Holds nothing any more.
  void release() {
    holding = Hold::nothing;
    for (auto* const gate : gates_)
      gate->cancel();
  }

  Answer<std::optional<PairingRecord>> pairing(std::string id) override {
    return answered<std::optional<PairingRecord>>("pairing", [this, id] { return record(id); });
  }
  Answer<std::optional<PairingRecord>> pairingOfToken(Sha256Digest tokenHash) override {
    return answered<std::optional<PairingRecord>>("pairingOfToken", [this, tokenHash] {
      const auto id = tokens_.find(tokenHash);
      return id == tokens_.end() ? std::nullopt : record(id->second);
    });
  }
  Answer<PairingRecord> registerPairing(std::string id, Sha256Digest tokenHash) override {
    return answered<PairingRecord>("registerPairing", [this, id, tokenHash] {
      Stored fresh{.record = {.id = id, .tokenHash = tokenHash}, .devices = {}};
      const PairingRecord& stored = pairings_.try_emplace(id, std::move(fresh)).first->second.record;
      if (stored.tokenHash == tokenHash && !stored.revoked) tokens_[tokenHash] = id;
      return stored;
    });
  }
  Answer<void> revokePairing(std::string id) override {
    return answered<void>("revokePairing", [this, id] {
      const auto found = pairings_.find(id);
      if (found == pairings_.end()) return;
      found->second.record.revoked = true;
      found->second.devices.clear();
    });
  }
  Answer<std::vector<DeviceRecord>> pairedDevices(std::string pairingID) override {
    return answered<std::vector<DeviceRecord>>("pairedDevices", [this, pairingID] {
      std::vector<DeviceRecord> paired;
      std::ranges::copy_if(devices(pairingID), std::back_inserter(paired),
                           [](const DeviceRecord& device) { return !device.unpaired; });
      return paired;
    });
  }
  Answer<Admission> admitDevice(std::string pairingID, DeviceRecord device, std::size_t greatest) override {
    return answered<Admission>("admitDevice", [this, pairingID, device, greatest] {
      const auto pairing = record(pairingID);
      if (!pairing || pairing->revoked) return Admission::noPairing;
      auto& stored = devices(pairingID);
      const auto known = std::ranges::find(stored, device.id, &DeviceRecord::id);
      if (known != stored.end()) {
        if (known->unpaired) return Admission::unpaired;
        known->name = device.name;
        known->platform = device.platform;
        return Admission::paired;
      }
      if (static_cast<std::size_t>(std::ranges::count(stored, false, &DeviceRecord::unpaired)) >= greatest)
        return Admission::tooManyPhones;
      stored.push_back({.id = device.id, .name = device.name, .platform = device.platform});
      return Admission::paired;
    });
  }
  Answer<bool> setPushEndpoint(std::string pairingID, std::string id, std::optional<std::string> endpoint) override {
    return answered<bool>("setPushEndpoint", [this, pairingID, id, endpoint] {
      auto& stored = devices(pairingID);
      const auto known = std::ranges::find(stored, id, &DeviceRecord::id);
      if (known == stored.end() || known->unpaired) return false;
      known->pushEndpoint = endpoint;
      return true;
    });
  }
  Answer<bool> unpairDevice(std::string pairingID, std::string id) override {
    return answered<bool>("unpairDevice", [this, pairingID, id] {
      auto& stored = devices(pairingID);
      const auto known = std::ranges::find(stored, id, &DeviceRecord::id);
      return known != stored.end() && !std::exchange(known->unpaired, true);
    });
  }
  Answer<void> forgetDevice(std::string pairingID, std::string id) override {
    return answered<void>("forgetDevice", [this, pairingID, id] {
      std::erase_if(devices(pairingID),
                    [&](const DeviceRecord& device) { return device.id == id && !device.unpaired; });
    });
  }

 private:
  struct Stored {
    PairingRecord record;
    std::vector<DeviceRecord> devices;
  };

  std::optional<PairingRecord> record(const std::string& id) const {
    const auto found = pairings_.find(id);
    return found == pairings_.end() ? std::nullopt : std::optional(found->second.record);
  }
  /// None for a pairing that is not there.
  std::vector<DeviceRecord>& devices(const std::string& pairingID) {
    const auto found = pairings_.find(pairingID);
    return found == pairings_.end() ? nobody_ : found->second.devices;
  }

  template <typename Value>
  Answer<Value> answered(const char* name, std::function<Value()> effect) {
    calls.emplace_back(name);
    if (holding == Hold::calls) co_await gate();
    if (!failure.empty()) co_return std::unexpected(StorageError{failure});
    if constexpr (std::is_void_v<Value>) {
      effect();
      if (holding == Hold::answers) co_await gate();
      co_return StorageResult<void>{};
    } else {
      Value value = effect();
      if (holding == Hold::answers) co_await gate();
      co_return value;
    }
  }

  boost::asio::awaitable<void> gate() {
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor,
                                    boost::asio::steady_timer::time_point::max());
    const auto place = gates_.insert(gates_.end(), &timer);
    const auto leave = [&](void*) { gates_.erase(place); };
    const std::unique_ptr<void, decltype(leave)> leaving(&timer, leave);
    co_await timer.async_wait(boost::asio::as_tuple(boost::asio::use_awaitable));
  }

  std::map<std::string, Stored> pairings_;
  std::vector<DeviceRecord> nobody_;
  std::map<Sha256Digest, std::string> tokens_;
  std::list<boost::asio::steady_timer*> gates_;
};

}  // namespace tallyfox::server::testing
