#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RelayPeer.hpp"
#include "storage/PairingRecords.hpp"

namespace tallyfox::server {

/// One pairing's live sockets and the agent's last snapshot: what goes to whom, and nothing else. Peers are borrowed;
/// each is taken out (removeAgent, removePhone) before it dies.
class PairingRoom {
 public:
  /// The newest agent wins; an older one is closed.
  void setAgent(RelayPeer& agent);
  /// False when this is not the current agent.
  bool removeAgent(const RelayPeer& agent);
  /// Greets the phone and brings it up to date. A device may hold a few sockets at once, as one that watches and one
  /// that answers; beyond that its oldest is closed.
  void addPhone(const std::string& deviceID, RelayPeer& phone);
  /// False when this is none of the device's sockets.
  bool removePhone(const std::string& deviceID, const RelayPeer& phone);

  [[nodiscard]] bool hasAgent() const { return agent_ != nullptr; }
  [[nodiscard]] bool isAgent(const RelayPeer& peer) const { return agent_ == &peer; }
  [[nodiscard]] bool isPhone(const std::string& deviceID, const RelayPeer& peer) const;
  [[nodiscard]] bool deserted() const { return agent_ == nullptr && phones_.empty(); }
  [[nodiscard]] bool empty() const { return deserted() && !snapshot_; }
  /// Whether the device has a socket here or elsewhere.
  [[nodiscard]] bool isConnected(const std::string& deviceID) const {
    return phones_.contains(deviceID) || devicesElsewhere_.contains(deviceID);
  }
  /// The devices that have a socket here.
  [[nodiscard]] std::set<std::string, std::less<>> devices() const;

  /// What is at other machines: phones are told when the last agent went or the first came, wherever it is.
  void setElsewhere(bool agent, std::set<std::string, std::less<>> devices);
  /// Lets the agent's socket go, as a newer one is elsewhere.
  void yieldAgent();

  void sendToPhones(const Frame& frame, FrameType type);
  /// False when no agent is there to take it.
  [[nodiscard]] bool sendToAgent(const Frame& frame, FrameType type);
  /// Keeps the frame for phones that join later, and sends it to those that are here.
  void publishSnapshot(Frame snapshot);
  void dropSnapshot() { snapshot_.reset(); }
  [[nodiscard]] std::size_t snapshotBytes() const { return snapshot_ ? snapshot_->size() : 0; }
  /// Which phones are paired, as the storage said last.
  void setPairedDevices(std::vector<DeviceRecord> devices) { pairedDevices_ = std::move(devices); }
  /// Tells the agent which phones are paired and which of them are connected, when both are known and differ from what
  /// it was told.
  void publishPhoneStatus();

  /// Tells one phone, at each of its sockets, that it is unpaired and lets it go; one that is not connected needs no
  /// telling.
  void dismissPhone(const std::string& deviceID);
  /// Dismisses the phones that are paired no longer, as the storage said last.
  void dismissUnpairedPhones();
  /// Tells every phone so, and lets them and the agent go.
  void dismissAll();
  /// Closes every socket; each still takes itself out.
  void closeAll(CloseCode code);
  /// Everyone here, an agent without a device id.
  void forEach(const std::function<void(const std::string& deviceID, RelayPeer& peer)>& visit) const;

 private:
  /// Tells the phones whether there is an agent, when that differs from before.
  void publishAgentStatus();
  /// Every phone's sockets; the order of one device's sockets is that of their joining.
  void forEachPhone(const std::function<void(RelayPeer&)>& visit) const;

  RelayPeer* agent_ = nullptr;
  bool agentElsewhere_ = false;
  bool toldAgentConnected_ = false;  ///< what the phones know
  std::set<std::string, std::less<>> devicesElsewhere_;
  std::map<std::string, std::vector<RelayPeer*>, std::less<>> phones_;  ///< no device without a socket
  std::optional<std::vector<DeviceRecord>> pairedDevices_;
  Frame snapshot_;
  std::string lastPhoneStatus_;  ///< as the current agent knows it; empty when it was told nothing
};

}  // namespace tallyfox::server
