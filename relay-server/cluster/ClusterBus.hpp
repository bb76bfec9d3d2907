#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "ClusterMessage.hpp"
#include "ClusterTransport.hpp"
#include "PairingBus.hpp"
#include "RelayLog.hpp"

namespace tallyfox::server {

/// How long nodes wait for each other.
struct ClusterTiming {
  std::chrono::milliseconds beat{2'000};
  /// A node that was not heard of for so long is lost: three beats and a little.
  std::chrono::milliseconds lostAfter{7'000};
  /// For the word that a request was handed to the agent's socket.
  std::chrono::milliseconds requestPatience{2'000};
  /// For what a node knows of a pairing.
  std::chrono::milliseconds whoPatience{1'000};
};

/// One node among others. Each tells the whole of what it has of a pairing whenever that changes, so that nothing that
/// was lost or late matters for longer than to the next word; which agent counts is decided by the claims alone.
class ClusterBus final : public PairingBus, private ClusterTransport::Listener {
 public:
  using Clock = std::chrono::steady_clock;

  /// `node` names this node and no other, ever. `now` is asked for the time.
  ClusterBus(ClusterTransport& transport, RelayLog& log, std::string node, std::function<Clock::time_point()> now,
             ClusterTiming timing = {});

  /// To be called every beat: says that this node is alive, and gives up others that were silent for too long.
  void beat();
  /// Says goodbye, so that nobody waits for this node.
  void stop();

  void listen(PairingBus::Listener& listener) override { listener_ = &listener; }
  bool keepsSnapshots() const override { return true; }
  boost::asio::awaitable<bool> enter(std::string pairingID) override;
  void leave(const std::string& pairingID) override;
  boost::asio::awaitable<std::optional<Claim>> claimAgent(std::string pairingID) override;
  bool agentJoined(const std::string& pairingID, Claim claim) override;
  void agentLeft(const std::string& pairingID) override;
  void setDevices(const std::string& pairingID, std::set<std::string, std::less<>> devices) override;
  void publishFrame(const std::string& pairingID, const Frame& frame) override;
  void publishSnapshot(const std::string& pairingID, const Frame& snapshot) override;
  void publishRecordChanged(const std::string& pairingID) override;
  boost::asio::awaitable<Delivery> deliver(std::string pairingID, Frame frame) override;
  bool agentElsewhere(const std::string& pairingID) const override;
  std::set<std::string, std::less<>> devicesElsewhere(const std::string& pairingID) const override;

 private:
  /// What another node has of a pairing.
  struct Presence {
    std::uint64_t number = 0;
    Claim claim = noClaim;
    std::set<std::string, std::less<>> devices;
  };
  struct Room {
    std::map<std::string, Presence, std::less<>> others;  ///< by node
    Claim claim = noClaim;
    std::set<std::string, std::less<>> devices;
    std::pair<Claim, std::uint64_t> snapshotAge{};  ///< of the newest snapshot known
    Frame snapshot;                                 ///< the newest of this node's agent
  };
  using Rooms = std::map<std::string, Room, std::less<>>;

  void heard(const std::string& text) override;
  std::string asked(const std::string& text) override;
  void connectionChanged(bool connected) override;

  [[nodiscard]] Room* roomOf(std::string_view pairingID);
  [[nodiscard]] const Room* roomOf(std::string_view pairingID) const;
  void hear(const ClusterMessage& message);
  void hearPresence(const ClusterMessage& message);
  void hearSnapshot(const ClusterMessage& message);
  void hearFrom(const std::string& node);
  void lose(const std::string& node);
  [[nodiscard]] ClusterMessage presence(const std::string& pairingID, const Room& room, bool asks = false);
  void announce(const std::string& pairingID, const Room& room, bool asks = false);
  void keepSnapshot(const std::string& pairingID, const Room& room);
  /// The node with the newest agent besides this one's; none when there is no other agent.
  [[nodiscard]] static const std::pair<const std::string, Presence>* holder(const Room& room);
  /// Brings the newest claim's node and the kept snapshot.
  [[nodiscard]] boost::asio::awaitable<bool> askAround(std::string pairingID);
  [[nodiscard]] boost::asio::awaitable<void> fetchSnapshot(std::string pairingID);
  /// After the way was cut: makes up for what was missed in every room.
  [[nodiscard]] boost::asio::awaitable<void> catchUp();
  [[nodiscard]] boost::asio::awaitable<void> catchUp(std::string pairingID);
  void lookAtRecord(const std::string& pairingID);
  void storageFailed(LogText task, std::string_view pairingID, const StorageError& error);
  [[nodiscard]] ClusterMessage message(ClusterMessage::Kind kind, const std::string& pairingID = "") const;

  ClusterTransport& transport_;
  RelayLog& log_;
  std::string node_;
  std::function<Clock::time_point()> now_;
  ClusterTiming timing_;
  PairingBus::Listener* listener_ = nullptr;
  Rooms rooms_;
  std::map<std::string, Clock::time_point, std::less<>> heardAt_;  ///< of nodes that live
  std::map<std::string, Clock::time_point, std::less<>> lostAt_;   ///< of nodes that may come back
  std::uint64_t presences_ = 0;
  std::uint64_t snapshots_ = 0;
  std::uint64_t cuts_ = 0;  ///< a later one ends the catching up of an earlier one
  bool stopped_ = false;
};

}  // namespace tallyfox::server
