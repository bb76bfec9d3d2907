#include "PairingRoom.hpp"

#include <algorithm>
#include <utility>

#include "PhoneFrames.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

/// A phone watches with one socket and answers with another; more than a few are sockets that have not been missed yet.
constexpr std::size_t socketsPerDevice = 4;

}  // namespace

void PairingRoom::setAgent(RelayPeer& agent) {
  RelayPeer* const older = std::exchange(agent_, &agent);
  lastPhoneStatus_.clear();
  if (older != nullptr) older->close(CloseCode::replaced);
  publishAgentStatus();
}

bool PairingRoom::removeAgent(const RelayPeer& agent) {
  if (!isAgent(agent)) return false;
  agent_ = nullptr;
  publishAgentStatus();
  return true;
}

void PairingRoom::yieldAgent() {
  if (agent_ == nullptr) return;
  std::exchange(agent_, nullptr)->close(CloseCode::replaced);
  publishAgentStatus();
}

void PairingRoom::setElsewhere(bool agent, std::set<std::string, std::less<>> devices) {
  agentElsewhere_ = agent;
  devicesElsewhere_ = std::move(devices);
  publishAgentStatus();
}

void PairingRoom::publishAgentStatus() {
  const bool connected = agent_ != nullptr || agentElsewhere_;
  if (std::exchange(toldAgentConnected_, connected) != connected)
    sendToPhones(agentStatus(connected), FrameType::agentStatus);
}

std::set<std::string, std::less<>> PairingRoom::devices() const {
  std::set<std::string, std::less<>> ids;
  for (const auto& [deviceID, sockets] : phones_)
    ids.insert(deviceID);
  return ids;
}

void PairingRoom::addPhone(const std::string& deviceID, RelayPeer& phone) {
  auto& sockets = phones_[deviceID];
  sockets.push_back(&phone);
  if (sockets.size() > socketsPerDevice) {
    sockets.front()->close(CloseCode::replaced);
    sockets.erase(sockets.begin());
  }
  phone.send(relayWelcome(toldAgentConnected_), FrameType::relayWelcome);
  if (snapshot_) phone.send(snapshot_, FrameType::macSnapshot);
}

bool PairingRoom::removePhone(const std::string& deviceID, const RelayPeer& phone) {
  const auto found = phones_.find(deviceID);
  if (found == phones_.end() || std::erase(found->second, &phone) == 0) return false;
  if (found->second.empty()) phones_.erase(found);
  return true;
}

bool PairingRoom::isPhone(const std::string& deviceID, const RelayPeer& peer) const {
  const auto found = phones_.find(deviceID);
  return found != phones_.end() && std::ranges::find(found->second, &peer) != found->second.end();
}

void PairingRoom::forEachPhone(const std::function<void(RelayPeer&)>& visit) const {
  for (const auto& [deviceID, sockets] : phones_)
    for (RelayPeer* const phone : sockets)
      visit(*phone);
}

void PairingRoom::sendToPhones(const Frame& frame, FrameType type) {
  forEachPhone([&frame, type](RelayPeer& phone) { phone.send(frame, type); });
}

bool PairingRoom::sendToAgent(const Frame& frame, FrameType type) {
  return agent_ != nullptr && agent_->send(frame, type);
}

void PairingRoom::publishSnapshot(Frame snapshot) {
  snapshot_ = std::move(snapshot);
  sendToPhones(snapshot_, FrameType::macSnapshot);
}

void PairingRoom::publishPhoneStatus() {
  if (agent_ == nullptr || !pairedDevices_) return;
  std::vector<RelayPhoneStatus> phones;
  for (const DeviceRecord& device : *pairedDevices_) {
    phones.push_back({.deviceID = device.id,
                      .deviceName = device.name,
                      .platform = device.platform,
                      .connected = isConnected(device.id)});
  }
  const PhoneStatusRelayMessage message{
      .phoneConnected = std::ranges::any_of(phones, [](const auto& phone) { return *phone.connected; }),
      .phoneCount = static_cast<std::int64_t>(phones.size()),
      .phones = std::move(phones)};
  std::string text = jsonText(message.json());
  if (text == lastPhoneStatus_) return;
  lastPhoneStatus_ = text;
  agent_->send(std::make_shared<const std::string>(std::move(text)), FrameType::phoneStatus);
}

void PairingRoom::dismissPhone(const std::string& deviceID) {
  const auto found = phones_.find(deviceID);
  if (found == phones_.end()) return;
  const std::vector<RelayPeer*> sockets = std::move(found->second);
  phones_.erase(found);
  for (RelayPeer* const phone : sockets) {
    phone->send(phoneUnpaired(), FrameType::phoneUnpaired);
    phone->close(CloseCode::unpaired);
  }
}

void PairingRoom::dismissUnpairedPhones() {
  if (!pairedDevices_) return;
  for (const std::string& deviceID : devices())
    if (std::ranges::find(*pairedDevices_, deviceID, &DeviceRecord::id) == pairedDevices_->end())
      dismissPhone(deviceID);
}

void PairingRoom::dismissAll() {
  sendToPhones(phoneUnpaired(), FrameType::phoneUnpaired);
  closeAll(CloseCode::unpaired);
  phones_.clear();
  agent_ = nullptr;
  toldAgentConnected_ = agentElsewhere_;
  snapshot_.reset();
}

void PairingRoom::forEach(const std::function<void(const std::string&, RelayPeer&)>& visit) const {
  if (agent_ != nullptr) visit({}, *agent_);
  for (const auto& [deviceID, sockets] : phones_)
    for (RelayPeer* const phone : sockets)
      visit(deviceID, *phone);
}

void PairingRoom::closeAll(CloseCode code) {
  forEachPhone([code](RelayPeer& phone) { phone.close(code); });
  if (agent_ != nullptr) agent_->close(code);
}

}  // namespace tallyfox::server
