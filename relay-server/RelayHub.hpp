#pragma once

#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "KeyedTurns.hpp"
#include "PairingAccess.hpp"
#include "PairingRoom.hpp"
#include "PhoneHello.hpp"
#include "PushNotifier.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "RelayPeer.hpp"
#include "cluster/LoneNode.hpp"
#include "cluster/PairingBus.hpp"
#include "metrics/RelayMetrics.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// All pairings: takes in sockets that proved who they are and routes their frames. Knows no sockets itself, for one
/// thread. What asks the storage takes turns within its pairing, so that what is stored and who is in the room change
/// together; frames in between flow on. A failure of the storage is logged and costs the one operation that needed
/// it. What happens at other nodes of a cluster comes and goes over the bus.
class RelayHub final : private PairingBus::Listener {
 public:
  /// Nothing, or the code with which the caller closes the peer.
  using Verdict = std::expected<void, CloseCode>;
  template <typename Value>
  using Eventually = boost::asio::awaitable<Value>;

  /// Without a bus there is no other node.
  RelayHub(PairingStore& store, RelayLog& log, const RelayLimits& limits, RelayMetrics& metrics,
           PairingBus* bus = nullptr);

  [[nodiscard]] PairingAccess& access() { return access_; }
  [[nodiscard]] std::size_t rooms() const { return rooms_.size(); }
  [[nodiscard]] std::size_t snapshotBytes() const { return snapshotBytes_; }

  /// Peers, and what else is passed by reference, must live until the call has ended. After a join the peer must
  /// leave before it dies; after a refusal it must not.
  [[nodiscard]] Eventually<Verdict> agentJoined(std::string pairingID, RelayPeer& agent);
  [[nodiscard]] Eventually<void> agentFrame(std::string pairingID, RelayPeer& agent, Frame frame);
  void agentLeft(const std::string& pairingID, const RelayPeer& agent);

  [[nodiscard]] Eventually<Verdict> phoneJoined(PhoneHello hello, RelayPeer& phone);
  [[nodiscard]] Eventually<Verdict> phoneFrame(PhoneAddress from, RelayPeer& phone, Frame frame);
  void phoneLeft(const PhoneAddress& address, const RelayPeer& phone);

  /// A socket that may be gone by now.
  struct Seat {
    PhoneAddress place;  ///< without a device id for an agent
    RelayPeer* peer = nullptr;
  };
  [[nodiscard]] std::vector<Seat> seats() const;
  /// Closes the socket with 1012, if it is still there, and tells it when to come back.
  void restart(const Seat& seat, std::chrono::milliseconds reconnectAfter);
  /// Whether the device has a socket, at whatever node.
  [[nodiscard]] bool isConnected(const PhoneAddress& address) const;
  /// From now on phones that are not connected are asked to look when they may subscribe to that.
  void setPush(PushNotifier& push) { push_ = &push; }

  /// Closes every socket with 1001 and refuses new ones so.
  void close();

 private:
  struct Occupied {
    PairingRoom room;
    std::uint64_t snapshotNumber = 0;  ///< grows with each snapshot of any room
    std::size_t visits = 0;            ///< calls under way that need the room
  };
  using Rooms = std::map<std::string, Occupied, std::less<>>;

  class Visit;

  void presenceChanged(const std::string& pairingID) override;
  void agentSuperseded(const std::string& pairingID) override;
  void frameForPhones(const std::string& pairingID, const Frame& frame) override;
  void snapshotArrived(const std::string& pairingID, const Frame& snapshot) override;
  bool deliverToAgent(const std::string& pairingID, const Frame& frame) override;
  Eventually<void> recordChanged(std::string pairingID) override;

  PairingRoom& room(const std::string& pairingID) { return rooms_[pairingID].room; }
  [[nodiscard]] bool isAgent(const std::string& pairingID, const RelayPeer& peer) const;
  [[nodiscard]] bool isPhone(const PhoneAddress& address, const RelayPeer& peer) const;
  void discardWhenEmpty(const std::string& pairingID);
  [[nodiscard]] Eventually<Verdict> admitAgent(const std::string& pairingID);
  [[nodiscard]] Eventually<Verdict> admitPhone(const PhoneHello& hello);
  [[nodiscard]] Eventually<Verdict> admitDevice(const PhoneHello& hello);
  /// False, and logged, when the other nodes cannot be asked what they have of the pairing.
  [[nodiscard]] Eventually<bool> enterRoom(const std::string& pairingID);
  /// Asks the storage which phones are paired. False when it fails: their last list stays.
  Eventually<bool> listDevices(const std::string& pairingID);
  /// Tells the agent, wherever it is, who is here now.
  void publishPhones(const std::string& pairingID);
  void keepSnapshot(const std::string& pairingID, const Frame& frame);
  [[nodiscard]] Eventually<void> deliver(const PhoneAddress& from, RelayPeer& phone, Frame frame, FrameType type,
                                         std::string decisionID);
  [[nodiscard]] Eventually<void> unpairDevice(const std::string& pairingID, const std::string& deviceID);
  [[nodiscard]] Eventually<void> revokePairing(const std::string& pairingID);
  void dismissAll(const std::string& pairingID);
  [[nodiscard]] Eventually<Verdict> forgetPhone(const PhoneAddress& from, RelayPeer& phone);
  void log(const LogEvent& event, std::string_view pairingID);
  void log(const LogEvent& event, const PhoneAddress& phone);
  void refused(const PhoneHello& hello, CloseCode code);
  void storageFailed(LogText task, std::string_view pairingID, const StorageError& error);

  PairingStore& store_;
  RelayLog& log_;
  const RelayLimits& limits_;
  RelayMetrics& metrics_;
  PairingAccess access_;
  LoneNode alone_;
  PairingBus& bus_;
  KeyedTurns turns_;
  Rooms rooms_;
  std::size_t snapshotBytes_ = 0;
  std::uint64_t snapshotCount_ = 0;
  PushNotifier* push_ = nullptr;  ///< null without Web Push
  bool closing_ = false;
};

}  // namespace tallyfox::server
