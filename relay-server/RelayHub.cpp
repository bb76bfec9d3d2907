#include "RelayHub.hpp"

#include <algorithm>

#include "PhoneFrames.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

constexpr std::string_view phoneLeave = "phone.leave";

}  // namespace

RelayHub::Verdict RelayHub::agentJoined(const std::string& pairingID, RelayPeer& agent) {
  if (closing_) return std::unexpected(CloseCode::goingAway);
  // The token was checked before the handshake, and the owner may have revoked the pairing during it.
  const auto pairing = database_.pairing(pairingID);
  if (!pairing) {
    log_.line("Unable to look up pairing {}: {}", shortened(pairingID), pairing.error().description);
    return std::unexpected(CloseCode::internalError);
  }
  if (!*pairing || (*pairing)->revoked) return std::unexpected(CloseCode::unpaired);
  room(pairingID).setAgent(agent);
  log_.line("Agent of pairing {} connected.", shortened(pairingID));
  publishPhoneStatus(pairingID);
  return {};
}

void RelayHub::agentFrame(const std::string& pairingID, RelayPeer& agent, const Frame& frame) {
  if (!room(pairingID).isAgent(agent)) return;
  const auto malformed = [&](const DecodingError& error) {
    log_.line("Unable to decode a frame of the agent of pairing {}: {}", shortened(pairingID), error.description);
  };
  const auto message = parsedJson(*frame);
  if (!message) return malformed(message.error());
  const auto type = relayMessageType(*message);
  if (!type) return malformed(type.error());
  if (*type == relay_type::macSnapshot) {
    const auto snapshot = MacSnapshotRelayMessage::decoded(*message);
    if (!snapshot) return malformed(snapshot.error());
    publishSnapshot(pairingID, frame);
  } else if (*type == relay_type::approvalResult) {
    const auto result = ApprovalResultRelayMessage::decoded(*message);
    if (!result) return malformed(result.error());
    room(pairingID).sendToPhones(frame);
  } else if (*type == relay_type::phoneUnpair) {
    const auto unpair = UnpairPhoneRelayMessage::decoded(*message);
    if (!unpair) return malformed(unpair.error());
    unpair->deviceID ? unpairDevice(pairingID, *unpair->deviceID) : revokePairing(pairingID);
  }
}

void RelayHub::agentLeft(const std::string& pairingID, const RelayPeer& agent) {
  if (!room(pairingID).removeAgent(agent)) return discardWhenEmpty(pairingID);
  log_.line("Agent of pairing {} disconnected.", shortened(pairingID));
  discardWhenEmpty(pairingID);
}

RelayHub::Verdict RelayHub::phoneJoined(const PhoneHello& hello, RelayPeer& phone) {
  if (closing_) return std::unexpected(CloseCode::goingAway);
  if (const Verdict admitted = admitDevice(hello); !admitted) {
    log_.line("Phone {} of pairing {} refused with {}.", shortened(hello.deviceID), shortened(hello.pairingID),
              static_cast<int>(admitted.error()));
    return admitted;
  }
  room(hello.pairingID).addPhone(hello.deviceID, phone);
  log_.line("Phone {} of pairing {} connected.", shortened(hello.deviceID), shortened(hello.pairingID));
  publishPhoneStatus(hello.pairingID);
  return {};
}

RelayHub::Verdict RelayHub::admitDevice(const PhoneHello& hello) {
  if (const auto allowed = access_.check(hello.pairingID, hello.relaySecret); !allowed) {
    switch (allowed.error()) {
      case PairingAccess::Refusal::unauthorized:
        return std::unexpected(CloseCode::unauthorized);
      case PairingAccess::Refusal::revoked:
        return std::unexpected(CloseCode::unpaired);
      case PairingAccess::Refusal::storageFailed:
        return std::unexpected(CloseCode::internalError);
    }
  }
  const auto failed = [&](const DatabaseError& error) -> Verdict {
    log_.line("Unable to admit phone {}: {}", shortened(hello.deviceID), error.description);
    return std::unexpected(CloseCode::internalError);
  };
  const DeviceRecord wanted{.id = hello.deviceID, .name = hello.deviceName, .platform = hello.platform};
  const auto known = database_.device(hello.pairingID, hello.deviceID);
  if (!known) return failed(known.error());
  if (*known && (*known)->unpaired) return std::unexpected(CloseCode::unpaired);
  if (*known == wanted) return {};
  if (!*known) {
    const auto paired = database_.pairedDevices(hello.pairingID);
    if (!paired) return failed(paired.error());
    if (paired->size() >= limits_.phonesPerPairing) return std::unexpected(CloseCode::tooManyPhones);
  }
  if (const auto saved = database_.saveDevice(hello.pairingID, wanted); !saved) return failed(saved.error());
  return {};
}

RelayHub::Verdict RelayHub::phoneFrame(const PhoneAddress& from, RelayPeer& phone, const Frame& frame) {
  if (!room(from.pairingID).isPhone(from.deviceID, phone)) return {};
  const auto malformed = [&](const DecodingError& error) -> Verdict {
    log_.line("Unable to decode a frame of phone {} of pairing {}: {}", shortened(from.deviceID),
              shortened(from.pairingID), error.description);
    return std::unexpected(CloseCode::malformed);
  };
  const auto message = parsedJson(*frame);
  if (!message) return malformed(message.error());
  const auto type = relayMessageType(*message);
  if (!type) return malformed(type.error());
  if (*type == relay_type::approvalRequest) {
    const auto request = ApprovalRequestRelayMessage::decoded(*message);
    return request ? deliver(from, phone, frame, request->decisionID) : malformed(request.error());
  }
  if (*type == relay_type::approvalSuppress || *type == relay_type::approvalUnsuppress) {
    const auto suppression = ApprovalSuppressionRelayMessage::decoded(*message);
    return suppression ? deliver(from, phone, frame, suppression->decisionID) : malformed(suppression.error());
  }
  if (*type == phoneLeave) return forgetPhone(from, phone);
  return {};
}

void RelayHub::phoneLeft(const PhoneAddress& address, const RelayPeer& phone) {
  if (room(address.pairingID).removePhone(address.deviceID, phone)) {
    log_.line("Phone {} of pairing {} disconnected.", shortened(address.deviceID), shortened(address.pairingID));
    publishPhoneStatus(address.pairingID);
  }
  discardWhenEmpty(address.pairingID);
}

void RelayHub::close() {
  closing_ = true;
  for (auto& [pairingID, occupied] : rooms_)
    occupied.room.closeAll(CloseCode::goingAway);
}

void RelayHub::discardWhenEmpty(const std::string& pairingID) {
  const auto found = rooms_.find(pairingID);
  if (found != rooms_.end() && found->second.room.empty()) rooms_.erase(found);
}

void RelayHub::publishPhoneStatus(const std::string& pairingID) {
  const auto devices = database_.pairedDevices(pairingID);
  if (!devices)
    return log_.line("Unable to list the phones of {}: {}", shortened(pairingID), devices.error().description);
  room(pairingID).publishPhoneStatus(*devices);
}

void RelayHub::publishSnapshot(const std::string& pairingID, const Frame& frame) {
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
    if (oldest->second.room.empty()) rooms_.erase(oldest);
  }
}

RelayHub::Verdict RelayHub::deliver(const PhoneAddress& from, RelayPeer& phone, const Frame& frame,
                                    std::string_view decisionID) {
  if (room(from.pairingID).sendToAgent(frame)) return {};
  log_.line("A decision of phone {} found no agent of pairing {}.", shortened(from.deviceID),
            shortened(from.pairingID));
  phone.send(decisionUndeliverable(decisionID));
  return {};
}

void RelayHub::unpairDevice(const std::string& pairingID, const std::string& deviceID) {
  const auto unpaired = database_.unpairDevice(pairingID, deviceID);
  if (!unpaired) {
    log_.line("Unable to unpair a phone of {}: {}", shortened(pairingID), unpaired.error().description);
  } else if (*unpaired) {
    room(pairingID).dismissPhone(deviceID);
    log_.line("Phone {} of pairing {} unpaired by its owner.", shortened(deviceID), shortened(pairingID));
  }
  publishPhoneStatus(pairingID);
}

void RelayHub::revokePairing(const std::string& pairingID) {
  if (const auto revoked = database_.revokePairing(pairingID); !revoked) {
    return log_.line("Unable to revoke pairing {}: {}", shortened(pairingID), revoked.error().description);
  }
  log_.line("Pairing {} revoked by its owner.", shortened(pairingID));
  snapshotBytes_ -= room(pairingID).snapshotBytes();
  room(pairingID).dismissAll();
  discardWhenEmpty(pairingID);
}

RelayHub::Verdict RelayHub::forgetPhone(const PhoneAddress& from, RelayPeer& phone) {
  if (const auto forgotten = database_.forgetDevice(from.pairingID, from.deviceID); !forgotten) {
    log_.line("Unable to forget phone {}: {}", shortened(from.deviceID), forgotten.error().description);
    return std::unexpected(CloseCode::internalError);
  }
  log_.line("Phone {} left pairing {}.", shortened(from.deviceID), shortened(from.pairingID));
  room(from.pairingID).removePhone(from.deviceID, phone);
  room(from.pairingID).dismissPhone(from.deviceID);
  publishPhoneStatus(from.pairingID);
  return std::unexpected(CloseCode::normal);
}

}  // namespace tallyfox::server
