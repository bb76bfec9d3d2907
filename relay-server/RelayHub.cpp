#include "RelayHub.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "PhoneFrames.hpp"
#include "RelayHubVisit.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

using Peer = RelayMetrics::Peer;

constexpr std::string_view phoneLeave = "phone.leave";

std::expected<std::string, DecodingError> typeOf(const std::expected<Json, DecodingError>& message) {
  if (!message) return std::unexpected(message.error());
  return relayMessageType(*message);
}

}  // namespace

RelayHub::RelayHub(PairingStore& store, RelayLog& log, const RelayLimits& limits, RelayMetrics& metrics,
                   PairingBus* bus)
    : store_(store),
      log_(log),
      limits_(limits),
      metrics_(metrics),
      access_(store, log),
      bus_(bus == nullptr ? alone_ : *bus) {
  bus_.listen(*this);
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::agentJoined(std::string pairingID, RelayPeer& agent) {
  const auto turn = co_await turns_.take(pairingID);
  const Visit visit(*this, pairingID);
  if (const Verdict admitted = co_await admitAgent(pairingID); !admitted) co_return admitted;
  co_await listDevices(pairingID);
  const auto claim = co_await bus_.claimAgent(pairingID);
  if (closing_) co_return std::unexpected(CloseCode::goingAway);
  if (!claim) co_return std::unexpected(CloseCode::internalError);
  if (!bus_.agentJoined(pairingID, *claim)) co_return std::unexpected(CloseCode::replaced);
  room(pairingID).setAgent(agent);
  metrics_.socketJoined(Peer::agent);
  log(log_event::agentConnected, pairingID);
  room(pairingID).publishPhoneStatus();
  co_return Verdict{};
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::admitAgent(const std::string& pairingID) {
  if (closing_) co_return std::unexpected(CloseCode::goingAway);
  if (!co_await enterRoom(pairingID)) co_return std::unexpected(CloseCode::internalError);
  // The token was checked before the handshake, and the owner may have revoked the pairing during it.
  const auto pairing = co_await store_.pairing(pairingID);
  if (!pairing) {
    storageFailed("look up the standing", pairingID, pairing.error());
    co_return std::unexpected(CloseCode::internalError);
  }
  if (!*pairing || (*pairing)->revoked) co_return std::unexpected(CloseCode::unpaired);
  co_return Verdict{};
}

RelayHub::Eventually<void> RelayHub::agentFrame(std::string pairingID, RelayPeer& agent, Frame frame) {
  if (!isAgent(pairingID, agent)) co_return;
  const StopWatch watch(metrics_.agentFrameSeconds);
  const auto malformed = [&](const DecodingError& error) {
    log_.write(log_event::agentFrameMalformed, {LogField::pairing(pairingID), LogField::reason(error)});
  };
  const auto message = parsedJson(*frame);
  const auto type = typeOf(message);
  metrics_.frameIn(type ? frameTypeOf(*type) : FrameType::malformed, frame->size());
  if (!type) co_return malformed(type.error());
  if (*type == relay_type::macSnapshot) {
    const auto snapshot = MacSnapshotRelayMessage::decoded(*message);
    if (!snapshot) co_return malformed(snapshot.error());
    keepSnapshot(pairingID, frame);
    bus_.publishSnapshot(pairingID, frame);
    if (push_ != nullptr) push_->snapshotPublished(pairingID, *snapshot);
  } else if (*type == relay_type::approvalResult) {
    const auto result = ApprovalResultRelayMessage::decoded(*message);
    if (!result) co_return malformed(result.error());
    room(pairingID).sendToPhones(frame, FrameType::approvalResult);
    bus_.publishFrame(pairingID, frame);
  } else if (*type == relay_type::phoneUnpair) {
    const auto unpair = UnpairPhoneRelayMessage::decoded(*message);
    if (!unpair) co_return malformed(unpair.error());
    // What the owner asked for is done also when a newer agent has taken over by the time of its turn.
    const auto turn = co_await turns_.take(pairingID);
    const Visit visit(*this, pairingID);
    if (unpair->deviceID) {
      co_await unpairDevice(pairingID, *unpair->deviceID);
    } else {
      co_await revokePairing(pairingID);
    }
  }
}

void RelayHub::agentLeft(const std::string& pairingID, const RelayPeer& agent) {
  metrics_.sockets.remove(Peer::agent);
  if (room(pairingID).removeAgent(agent)) {
    log(log_event::agentDisconnected, pairingID);
    bus_.agentLeft(pairingID);
  }
  discardWhenEmpty(pairingID);
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::phoneJoined(PhoneHello hello, RelayPeer& phone) {
  const auto turn = co_await turns_.take(hello.pairingID);
  const Visit visit(*this, hello.pairingID);
  if (closing_) co_return std::unexpected(CloseCode::goingAway);
  if (const Verdict admitted = co_await admitPhone(hello); !admitted) {
    refused(hello, admitted.error());
    co_return admitted;
  }
  co_await listDevices(hello.pairingID);
  if (closing_) co_return std::unexpected(CloseCode::goingAway);
  room(hello.pairingID).addPhone(hello.deviceID, phone);
  metrics_.socketJoined(Peer::phone);
  log(log_event::phoneConnected, {.pairingID = hello.pairingID, .deviceID = hello.deviceID});
  publishPhones(hello.pairingID);
  bus_.publishRecordChanged(hello.pairingID);
  co_return Verdict{};
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::admitPhone(const PhoneHello& hello) {
  if (const auto allowed = co_await access_.check(hello.pairingID, hello.relaySecret); !allowed) {
    switch (allowed.error()) {
      case PairingAccess::Refusal::unauthorized:
        co_return std::unexpected(CloseCode::unauthorized);
      case PairingAccess::Refusal::revoked:
        co_return std::unexpected(CloseCode::unpaired);
      case PairingAccess::Refusal::storageFailed:
        co_return std::unexpected(CloseCode::internalError);
    }
  }
  // Before the device is admitted, so that no later change of what is stored goes by unheard.
  if (!co_await enterRoom(hello.pairingID)) co_return std::unexpected(CloseCode::internalError);
  co_return co_await admitDevice(hello);
}

RelayHub::Eventually<bool> RelayHub::enterRoom(const std::string& pairingID) {
  const bool entered = co_await bus_.enter(pairingID);
  if (!entered) log(log_event::unmet, pairingID);
  co_return entered;
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::admitDevice(const PhoneHello& hello) {
  DeviceRecord wanted{.id = hello.deviceID, .name = hello.deviceName, .platform = hello.platform};
  const auto admission = co_await store_.admitDevice(hello.pairingID, std::move(wanted), limits_.phonesPerPairing);
  if (!admission) {
    storageFailed("admit a phone", hello.pairingID, admission.error());
    co_return std::unexpected(CloseCode::internalError);
  }
  switch (*admission) {
    case PairingStore::Admission::paired:
      co_return Verdict{};
    case PairingStore::Admission::tooManyPhones:
      co_return std::unexpected(CloseCode::tooManyPhones);
    case PairingStore::Admission::unpaired:
    case PairingStore::Admission::noPairing:
      break;
  }
  co_return std::unexpected(CloseCode::unpaired);
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::phoneFrame(PhoneAddress from, RelayPeer& phone, Frame frame) {
  if (!isPhone(from, phone)) co_return Verdict{};
  const StopWatch watch(metrics_.phoneFrameSeconds);
  const auto malformed = [&](const DecodingError& error) -> Verdict {
    log_.write(log_event::phoneFrameMalformed,
               {LogField::device(from.deviceID), LogField::pairing(from.pairingID), LogField::reason(error)});
    return std::unexpected(CloseCode::malformed);
  };
  const auto message = parsedJson(*frame);
  const auto type = typeOf(message);
  metrics_.frameIn(type ? frameTypeOf(*type) : FrameType::malformed, frame->size());
  if (!type) co_return malformed(type.error());
  if (*type == relay_type::approvalRequest) {
    const auto request = ApprovalRequestRelayMessage::decoded(*message);
    if (!request) co_return malformed(request.error());
    co_await deliver(from, phone, frame, FrameType::approvalRequest, request->decisionID);
  } else if (*type == relay_type::approvalSuppress || *type == relay_type::approvalUnsuppress) {
    const auto suppression = ApprovalSuppressionRelayMessage::decoded(*message);
    if (!suppression) co_return malformed(suppression.error());
    co_await deliver(from, phone, frame, frameTypeOf(*type), suppression->decisionID);
  } else if (*type == phoneLeave) {
    co_return co_await forgetPhone(from, phone);
  } else if (push_ != nullptr && *type == PushNotifier::subscribeType) {
    JsonObjectReader reader(*message);
    const std::string endpoint = reader.string("endpoint");
    if (reader.error()) co_return malformed(*reader.error());
    phone.send(co_await push_->subscribed(from, endpoint), FrameType::pushStatus);
  } else if (push_ != nullptr && *type == PushNotifier::unsubscribeType) {
    phone.send(co_await push_->unsubscribed(from), FrameType::pushStatus);
  }
  co_return Verdict{};
}

void RelayHub::phoneLeft(const PhoneAddress& address, const RelayPeer& phone) {
  metrics_.sockets.remove(Peer::phone);
  if (room(address.pairingID).removePhone(address.deviceID, phone)) {
    log(log_event::phoneDisconnected, address);
    publishPhones(address.pairingID);
  }
  discardWhenEmpty(address.pairingID);
}

std::vector<RelayHub::Seat> RelayHub::seats() const {
  std::vector<Seat> seats;
  for (const auto& [pairingID, occupied] : rooms_) {
    occupied.room.forEach([&](const std::string& deviceID, RelayPeer& peer) {
      seats.push_back({.place = {.pairingID = pairingID, .deviceID = deviceID}, .peer = &peer});
    });
  }
  return seats;
}

void RelayHub::restart(const Seat& seat, std::chrono::milliseconds reconnectAfter) {
  const bool isAnAgent = seat.place.deviceID.empty();
  const bool isHere = isAnAgent ? isAgent(seat.place.pairingID, *seat.peer) : isPhone(seat.place, *seat.peer);
  if (!isHere) return;
  if (!isAnAgent) seat.peer->send(relayRestart(reconnectAfter), FrameType::relayRestart);
  const double seconds = std::chrono::duration<double>(reconnectAfter).count();
  seat.peer->close(CloseCode::serviceRestart, fmt::format("restart, reconnect after {:.1f} s", seconds));
}

bool RelayHub::isConnected(const PhoneAddress& address) const {
  const auto found = rooms_.find(address.pairingID);
  return found != rooms_.end() && found->second.room.isConnected(address.deviceID);
}

void RelayHub::close() {
  closing_ = true;
  for (auto& [pairingID, occupied] : rooms_)
    occupied.room.closeAll(CloseCode::goingAway);
}

void RelayHub::discardWhenEmpty(const std::string& pairingID) {
  const auto found = rooms_.find(pairingID);
  if (found == rooms_.end() || found->second.visits > 0) return;
  const PairingRoom& left = found->second.room;
  if (!left.deserted() || (!left.empty() && !bus_.keepsSnapshots())) return;
  snapshotBytes_ -= left.snapshotBytes();
  rooms_.erase(found);
  bus_.leave(pairingID);
}

bool RelayHub::isAgent(const std::string& pairingID, const RelayPeer& peer) const {
  const auto found = rooms_.find(pairingID);
  return found != rooms_.end() && found->second.room.isAgent(peer);
}

bool RelayHub::isPhone(const PhoneAddress& address, const RelayPeer& peer) const {
  const auto found = rooms_.find(address.pairingID);
  return found != rooms_.end() && found->second.room.isPhone(address.deviceID, peer);
}

RelayHub::Eventually<bool> RelayHub::listDevices(const std::string& pairingID) {
  auto devices = co_await store_.pairedDevices(pairingID);
  if (devices) {
    room(pairingID).setPairedDevices(std::move(*devices));
  } else {
    storageFailed("list the phones", pairingID, devices.error());
  }
  co_return devices.has_value();
}

void RelayHub::publishPhones(const std::string& pairingID) {
  bus_.setDevices(pairingID, room(pairingID).devices());
  room(pairingID).publishPhoneStatus();
}

void RelayHub::keepSnapshot(const std::string& pairingID, const Frame& frame) {
  Occupied& occupied = rooms_[pairingID];
  snapshotBytes_ -= occupied.room.snapshotBytes();
  occupied.room.publishSnapshot(frame);
  occupied.snapshotNumber = ++snapshotCount_;
  snapshotBytes_ += frame->size();
  while (snapshotBytes_ > limits_.snapshotBytes) {
    const auto hasOlderSnapshot = [](const Rooms::value_type& left, const Rooms::value_type& right) {
      const auto age = [](const Occupied& each) {
        return each.room.snapshotBytes() > 0 ? each.snapshotNumber : UINT64_MAX;
      };
      return age(left.second) < age(right.second);
    };
    const auto oldest = std::ranges::min_element(rooms_, hasOlderSnapshot);
    snapshotBytes_ -= oldest->second.room.snapshotBytes();
    oldest->second.room.dropSnapshot();
    discardWhenEmpty(std::string(oldest->first));
  }
}

RelayHub::Eventually<void> RelayHub::deliver(const PhoneAddress& from, RelayPeer& phone, Frame frame, FrameType type,
                                             std::string decisionID) {
  using Undeliverable = RelayMetrics::Undeliverable;
  if (room(from.pairingID).sendToAgent(frame, type)) co_return;
  const bool isHere = room(from.pairingID).hasAgent();
  const auto delivery = co_await bus_.deliver(from.pairingID, std::move(frame));
  if (delivery == PairingBus::Delivery::delivered) co_return;
  if (delivery == PairingBus::Delivery::uncertain) {
    metrics_.undeliverables.add(Undeliverable::uncertain);
    log(log_event::uncertain, from);
    phone.send(decisionUndeliverable(decisionID, "uncertain"), FrameType::undeliverable);
  } else {
    metrics_.undeliverables.add(isHere ? Undeliverable::agentNotReading : Undeliverable::noAgent);
    log(log_event::undeliverable, from);
    phone.send(decisionUndeliverable(decisionID, "offline"), FrameType::undeliverable);
  }
}

RelayHub::Eventually<void> RelayHub::unpairDevice(const std::string& pairingID, const std::string& deviceID) {
  const auto unpaired = co_await store_.unpairDevice(pairingID, deviceID);
  if (!unpaired) {
    storageFailed("unpair a phone", pairingID, unpaired.error());
  } else if (*unpaired) {
    room(pairingID).dismissPhone(deviceID);
    bus_.publishRecordChanged(pairingID);
    log(log_event::phoneUnpaired, {.pairingID = pairingID, .deviceID = deviceID});
  }
  co_await listDevices(pairingID);
  publishPhones(pairingID);
}

RelayHub::Eventually<void> RelayHub::revokePairing(const std::string& pairingID) {
  if (const auto revoked = co_await store_.revokePairing(pairingID); !revoked) {
    storageFailed("revoke the token", pairingID, revoked.error());
    co_return;
  }
  log(log_event::pairingRevoked, pairingID);
  bus_.publishRecordChanged(pairingID);
  dismissAll(pairingID);
}

void RelayHub::dismissAll(const std::string& pairingID) {
  snapshotBytes_ -= room(pairingID).snapshotBytes();
  room(pairingID).dismissAll();
  bus_.agentLeft(pairingID);
  bus_.setDevices(pairingID, {});
}

RelayHub::Eventually<RelayHub::Verdict> RelayHub::forgetPhone(const PhoneAddress& from, RelayPeer& phone) {
  const auto turn = co_await turns_.take(from.pairingID);
  // Its owner may have unpaired it while it waited.
  if (!isPhone(from, phone)) co_return Verdict{};
  const Visit visit(*this, from.pairingID);
  if (const auto forgotten = co_await store_.forgetDevice(from.pairingID, from.deviceID); !forgotten) {
    storageFailed("forget a phone", from.pairingID, forgotten.error());
    co_return std::unexpected(CloseCode::internalError);
  }
  log(log_event::phoneLeft, from);
  room(from.pairingID).removePhone(from.deviceID, phone);
  room(from.pairingID).dismissPhone(from.deviceID);
  bus_.publishRecordChanged(from.pairingID);
  co_await listDevices(from.pairingID);
  publishPhones(from.pairingID);
  co_return std::unexpected(CloseCode::normal);
}

void RelayHub::log(const LogEvent& event, std::string_view pairingID) {
  log_.write(event, {LogField::pairing(pairingID)});
}

void RelayHub::log(const LogEvent& event, const PhoneAddress& phone) {
  log_.write(event, {LogField::device(phone.deviceID), LogField::pairing(phone.pairingID)});
}

void RelayHub::refused(const PhoneHello& hello, CloseCode code) {
  log_.write(log_event::phoneRefused,
             {LogField::device(hello.deviceID), LogField::pairing(hello.pairingID), LogField::code(code)});
}

void RelayHub::storageFailed(LogText task, std::string_view pairingID, const StorageError& error) {
  log_.write(log_event::storageFailedFor,
             {LogField::task(task), LogField::pairing(pairingID), LogField::reason(error)});
}

}  // namespace tallyfox::server
