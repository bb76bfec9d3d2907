#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "storage/StorageError.hpp"

namespace tallyfox::server {

/// What carries texts between nodes. Texts of one node arrive in order or not at all; none arrives twice. For one
/// thread: what it hears is told on its executor.
class ClusterTransport {
 public:
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual void heard(const std::string& text) = 0;
    /// A question to this node; the answer goes back at once.
    [[nodiscard]] virtual std::string asked(const std::string& text) = 0;
    /// The way to the other nodes was cut, or is open again: what they said meanwhile is lost.
    virtual void connectionChanged(bool connected) = 0;
  };

  struct Answer {
    enum class Kind {
      text,     ///< the other node's
      nobody,   ///< the question certainly reached no node
      silence,  ///< no answer in time; the question may have been heard
    };
    Kind kind = Kind::nobody;
    std::string text{};
  };
  struct Claimed {
    std::string node;
    std::uint64_t claim = 0;
  };

  virtual ~ClusterTransport() = default;
  virtual void listen(Listener& listener) = 0;
  [[nodiscard]] virtual boost::asio::any_io_executor executor() const = 0;
  [[nodiscard]] virtual bool connected() const = 0;

  /// Hears what is told in the pairing's room from now on. False when that is not possible now.
  [[nodiscard]] virtual boost::asio::awaitable<bool> join(std::string pairingID) = 0;
  virtual void part(const std::string& pairingID) = 0;
  virtual void tellNodes(std::string text) = 0;
  virtual void tellRoom(const std::string& pairingID, std::string text) = 0;
  /// Tells it in the room, and keeps it, instead of an older one, for those who come later.
  virtual void keepSnapshot(const std::string& pairingID, std::string text) = 0;
  [[nodiscard]] virtual boost::asio::awaitable<StorageResult<std::optional<std::string>>> snapshot(
      std::string pairingID) = 0;
  [[nodiscard]] virtual boost::asio::awaitable<Answer> ask(std::string node, std::string text,
                                                           std::chrono::milliseconds patience) = 0;
  /// A new claim of this node, greater than all before it.
  [[nodiscard]] virtual boost::asio::awaitable<StorageResult<std::uint64_t>> claim(std::string pairingID,
                                                                                   std::string node) = 0;
  /// The newest claim, if there was one.
  [[nodiscard]] virtual boost::asio::awaitable<StorageResult<std::optional<Claimed>>> claimed(
      std::string pairingID) = 0;
};

}  // namespace tallyfox::server
