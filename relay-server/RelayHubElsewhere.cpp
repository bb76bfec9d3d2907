// What the hub hears of other nodes.
#include "RelayHub.hpp"
#include "RelayHubVisit.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {

void RelayHub::presenceChanged(const std::string& pairingID) {
  const auto found = rooms_.find(pairingID);
  if (found == rooms_.end()) return;
  found->second.room.setElsewhere(bus_.agentElsewhere(pairingID), bus_.devicesElsewhere(pairingID));
  found->second.room.publishPhoneStatus();
}

void RelayHub::agentSuperseded(const std::string& pairingID) {
  const auto found = rooms_.find(pairingID);
  if (found == rooms_.end()) return;
  log(log_event::agentSuperseded, pairingID);
  presenceChanged(pairingID);
  found->second.room.yieldAgent();
  bus_.agentLeft(pairingID);
}

void RelayHub::frameForPhones(const std::string& pairingID, const Frame& frame) {
  if (const auto found = rooms_.find(pairingID); found != rooms_.end())
    found->second.room.sendToPhones(frame, FrameType::approvalResult);
}

void RelayHub::snapshotArrived(const std::string& pairingID, const Frame& snapshot) {
  if (rooms_.contains(pairingID)) keepSnapshot(pairingID, snapshot);
}

bool RelayHub::deliverToAgent(const std::string& pairingID, const Frame& frame) {
  const auto found = rooms_.find(pairingID);
  const auto message = parsedJson(*frame);
  const auto type = message ? relayMessageType(*message) : std::unexpected(message.error());
  return found != rooms_.end() && type && found->second.room.sendToAgent(frame, frameTypeOf(*type));
}

RelayHub::Eventually<void> RelayHub::recordChanged(std::string pairingID) {
  const auto turn = co_await turns_.take(pairingID);
  if (!rooms_.contains(pairingID)) co_return;
  const Visit visit(*this, pairingID);
  const auto pairing = co_await store_.pairing(pairingID);
  if (!pairing) {
    storageFailed("look at the record", pairingID, pairing.error());
  } else if (*pairing && (*pairing)->revoked) {
    log(log_event::pairingRevoked, pairingID);
    dismissAll(pairingID);
  } else {
    if (co_await listDevices(pairingID)) room(pairingID).dismissUnpairedPhones();
    publishPhones(pairingID);
  }
}

}  // namespace tallyfox::server
