#include "PushNotifier.hpp"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <exception>
#include <utility>

#include "PhoneFrames.hpp"

namespace tallyfox::server {
namespace {

/// Pairings whose last snapshot is remembered. Beyond it one is forgotten, which costs its phones a request too many.
constexpr std::size_t greatestWaiting = 65'536;

RelayMetrics::Push countedAs(PushOutcome::Kind kind) {
  switch (kind) {
    case PushOutcome::Kind::accepted:
      return RelayMetrics::Push::accepted;
    case PushOutcome::Kind::gone:
      return RelayMetrics::Push::gone;
    case PushOutcome::Kind::refused:
      return RelayMetrics::Push::refused;
    case PushOutcome::Kind::later:
      return RelayMetrics::Push::failed;
  }
  std::unreachable();
}

}  // namespace

PushNotifier::PushNotifier(boost::asio::any_io_executor executor, Dependencies dependencies)
    : executor_(executor), dependencies_(std::move(dependencies)), sender_(executor, dependencies_.client, *this) {}

void PushNotifier::snapshotPublished(const std::string& pairingID, const MacSnapshotRelayMessage& snapshot) {
  if (snapshot.approvalCount <= 0) {
    waiting_.erase(pairingID);
    return;
  }
  const Sha256Digest digest = sha256(bytesOf(snapshot.snapshotID));
  const auto [known, isNew] = waiting_.try_emplace(pairingID, digest);
  // An agent that connects again says again what it had said.
  if (!isNew && std::exchange(known->second, digest) == digest) return;
  if (waiting_.size() > greatestWaiting)
    waiting_.erase(known == waiting_.begin() ? std::next(known) : waiting_.begin());
  lookUp(pairingID);
}

void PushNotifier::lookUp(const std::string& pairingID) {
  const auto [lookup, isNew] = lookups_.try_emplace(pairingID, false);
  if (!isNew) {
    lookup->second = true;
    return;
  }
  boost::asio::co_spawn(executor_, wakePhones(pairingID), [this, pairingID](const std::exception_ptr& failure) {
    if (failure) lookups_.erase(pairingID);
  });
}

boost::asio::awaitable<void> PushNotifier::wakePhones(std::string pairingID) {
  const auto lookup = lookups_.find(pairingID);
  do {
    lookup->second = false;
    const auto devices = co_await dependencies_.store.pairedDevices(pairingID);
    if (!devices) {
      dependencies_.log.write(
          log_event::storageFailedFor,
          {LogField::task("list the phones"), LogField::pairing(pairingID), LogField::reason(devices.error())});
      continue;
    }
    for (const DeviceRecord& device : *devices) {
      const PhoneAddress phone{.pairingID = pairingID, .deviceID = device.id};
      if (!device.pushEndpoint || dependencies_.isConnected(phone) || sender_.wake(phone)) continue;
      dependencies_.metrics.pushes.add(RelayMetrics::Push::dropped);
      dependencies_.log.write(log_event::pushBusy, {LogField::device(device.id), LogField::pairing(pairingID)});
    }
  } while (lookup->second);
  lookups_.erase(lookup);
}

boost::asio::awaitable<Frame> PushNotifier::subscribed(PhoneAddress phone, std::string endpoint) {
  const auto parsed = PushEndpoint::parsed(endpoint);
  if (!parsed) co_return pushRefused("endpoint");
  if (!dependencies_.client.allows(*parsed)) co_return pushRefused("service");
  co_return co_await stored(phone, std::move(endpoint));
}

boost::asio::awaitable<Frame> PushNotifier::unsubscribed(PhoneAddress phone) {
  co_return co_await stored(phone, std::nullopt);
}

boost::asio::awaitable<Frame> PushNotifier::stored(const PhoneAddress& phone, std::optional<std::string> endpoint) {
  // Phones say it at every connection, and a write takes the disk's time.
  const auto known = co_await device(phone);
  if (known && known->pushEndpoint == endpoint) co_return pushStatus(endpoint.has_value());
  const auto changed = co_await dependencies_.store.setPushEndpoint(phone.pairingID, phone.deviceID, endpoint);
  if (!changed) {
    dependencies_.log.write(log_event::storageFailedFor,
                            {LogField::task("store a push subscription"), LogField::pairing(phone.pairingID),
                             LogField::reason(changed.error())});
    co_return pushRefused("storage");
  }
  co_return pushStatus(endpoint && *changed);
}

boost::asio::awaitable<std::optional<DeviceRecord>> PushNotifier::device(const PhoneAddress& phone) {
  const auto devices = co_await dependencies_.store.pairedDevices(phone.pairingID);
  if (!devices) co_return std::nullopt;
  const auto found = std::ranges::find(*devices, phone.deviceID, &DeviceRecord::id);
  co_return found == devices->end() ? std::nullopt : std::optional(*found);
}

boost::asio::awaitable<std::optional<PushEndpoint>> PushNotifier::endpoint(const PhoneAddress& phone) {
  const auto known = co_await device(phone);
  // Meanwhile the dialogs may be gone, or the phone may have come.
  const bool wanted = waiting_.contains(phone.pairingID) && !dependencies_.isConnected(phone);
  co_return wanted&& known && known->pushEndpoint ? PushEndpoint::parsed(*known->pushEndpoint) : std::nullopt;
}

boost::asio::awaitable<void> PushNotifier::ended(const PhoneAddress& phone, const PushEndpoint& endpoint,
                                                 const PushOutcome& outcome) {
  using Kind = PushOutcome::Kind;
  dependencies_.metrics.pushes.add(countedAs(outcome.kind));
  if (outcome.kind == Kind::accepted) co_return;
  if (outcome.kind != Kind::gone) {
    dependencies_.log.write(log_event::pushFailed, {LogField::device(phone.deviceID),
                                                    LogField::pairing(phone.pairingID), LogField::reason(outcome)});
    co_return;
  }
  const auto known = co_await device(phone);
  // It may have subscribed anew.
  if (!known || !known->pushEndpoint || PushEndpoint::parsed(*known->pushEndpoint) != endpoint) co_return;
  dependencies_.log.write(log_event::pushEnded, {LogField::device(phone.deviceID), LogField::pairing(phone.pairingID)});
  static_cast<void>(co_await stored(phone, std::nullopt));
}

}  // namespace tallyfox::server
