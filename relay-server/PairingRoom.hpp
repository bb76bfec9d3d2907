#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "RelayDatabase.hpp"
#include "RelayPeer.hpp"

namespace tallyfox::server {

/// One pairing's live sockets and the agent's last snapshot: what goes to whom, and nothing else. Peers are borrowed;
/// each is taken out (removeAgent, removePhone) before it dies.
class PairingRoom {
 public:
  /// The newest agent wins; an older one is closed.
  void setAgent(RelayPeer& agent);
  /// False when this is not the current agent.
  bool removeAgent(const RelayPeer& agent);
  /// Greets the phone and brings it up to date. An older socket of the same device is closed.
  void addPhone(const std::string& deviceID, RelayPeer& phone);
  /// False when this is not the device's current socket.
  bool removePhone(const std::string& deviceID, const RelayPeer& phone);

  [[nodiscard]] bool isAgent(const RelayPeer& peer) const { return agent_ == &peer; }
  [[nodiscard]] bool isPhone(const std::string& deviceID, const RelayPeer& peer) const;
  [[nodiscard]] bool empty() const { return agent_ == nullptr && phones_.empty() && !snapshot_; }

  void sendToPhones(const Frame& frame);
  /// False when no agent is there to take it.
  [[nodiscard]] bool sendToAgent(const Frame& frame);
  /// Keeps the frame for phones that join later, and sends it to those that are here.
  void publishSnapshot(Frame snapshot);
  void dropSnapshot() { snapshot_.reset(); }
  [[nodiscard]] std::size_t snapshotBytes() const { return snapshot_ ? snapshot_->size() : 0; }
  /// Tells the agent which phones are paired and which of them are connected, when that differs from what it was told.
  void publishPhoneStatus(const std::vector<DeviceRecord>& pairedDevices);

  /// Tells one phone that it is unpaired and lets it go; one that is not connected needs no telling.
  void dismissPhone(const std::string& deviceID);
  /// Tells every phone so, and lets them and the agent go.
  void dismissAll();
  /// Closes every socket; each still takes itself out.
  void closeAll(CloseCode code);

 private:
  RelayPeer* agent_ = nullptr;
  std::map<std::string, RelayPeer*, std::less<>> phones_;
  Frame snapshot_;
  std::string lastPhoneStatus_;  ///< as the current agent knows it; empty when it was told nothing
};

}  // namespace tallyfox::server
