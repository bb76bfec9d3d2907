#pragma once

#include <boost/asio/awaitable.hpp>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "RelayPeer.hpp"

namespace tallyfox::server {

/// The rooms of a pairing at other nodes of a cluster, as one node's hub speaks to them. A room is entered before its
/// first socket and left after its last. For one thread.
class PairingBus {
 public:
  using Claim = std::uint64_t;  ///< an agent's right to its pairing; the greatest of all nodes counts
  static constexpr Claim noClaim = 0;

  /// What the hub hears, of rooms that it has entered. None of these calls may wait.
  class Listener {
   public:
    virtual ~Listener() = default;
    /// An agent or phones came to or left other nodes.
    virtual void presenceChanged(const std::string& pairingID) = 0;
    /// A newer connection of the agent is at another node.
    virtual void agentSuperseded(const std::string& pairingID) = 0;
    virtual void frameForPhones(const std::string& pairingID, const Frame& frame) = 0;
    /// The newest snapshot that there is.
    virtual void snapshotArrived(const std::string& pairingID, const Frame& snapshot) = 0;
    /// False when the agent is not here or does not take it.
    [[nodiscard]] virtual bool deliverToAgent(const std::string& pairingID, const Frame& frame) = 0;
    /// What is stored of the pairing was changed by another node, or may have been.
    [[nodiscard]] virtual boost::asio::awaitable<void> recordChanged(std::string pairingID) = 0;
  };

  enum class Delivery {
    delivered,  ///< handed to the agent's socket
    offline,    ///< certainly not
    uncertain,  ///< it may have been; nobody says so
  };

  virtual ~PairingBus() = default;
  virtual void listen(Listener& listener) = 0;
  /// Whether snapshots outlive the rooms of this node.
  [[nodiscard]] virtual bool keepsSnapshots() const = 0;

  /// Brings what the other nodes know of the pairing, its snapshot included. False when they cannot be asked.
  [[nodiscard]] virtual boost::asio::awaitable<bool> enter(std::string pairingID) = 0;
  virtual void leave(const std::string& pairingID) = 0;

  /// A claim greater than all before it; absent when none could be had.
  [[nodiscard]] virtual boost::asio::awaitable<std::optional<Claim>> claimAgent(std::string pairingID) = 0;
  /// False when a newer agent is known to be elsewhere.
  [[nodiscard]] virtual bool agentJoined(const std::string& pairingID, Claim claim) = 0;
  virtual void agentLeft(const std::string& pairingID) = 0;
  /// The devices that have a socket here.
  virtual void setDevices(const std::string& pairingID, std::set<std::string, std::less<>> devices) = 0;
  virtual void publishFrame(const std::string& pairingID, const Frame& frame) = 0;
  virtual void publishSnapshot(const std::string& pairingID, const Frame& snapshot) = 0;
  /// Lets the other nodes look at what is stored of the pairing.
  virtual void publishRecordChanged(const std::string& pairingID) = 0;
  /// Takes a frame to the agent at another node, at most once.
  [[nodiscard]] virtual boost::asio::awaitable<Delivery> deliver(std::string pairingID, Frame frame) = 0;

  [[nodiscard]] virtual bool agentElsewhere(const std::string& pairingID) const = 0;
  [[nodiscard]] virtual std::set<std::string, std::less<>> devicesElsewhere(const std::string& pairingID) const = 0;
};

}  // namespace tallyfox::server
