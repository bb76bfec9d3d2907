#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "PairingAccess.hpp"
#include "PairingRoom.hpp"
#include "PhoneHello.hpp"
#include "RelayDatabase.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "RelayPeer.hpp"

namespace tallyfox::server {

/// A phone's place: its pairing and its device id.
struct PhoneAddress {
  std::string pairingID;
  std::string deviceID;
};

/// All pairings: takes in sockets that proved who they are and routes their frames. Knows no sockets itself, for one
/// thread. A failure of the database is logged and costs the one operation that needed it.
class RelayHub {
 public:
  /// Nothing, or the code with which the caller closes the peer.
  using Verdict = std::expected<void, CloseCode>;

  RelayHub(RelayDatabase& database, RelayLog& log, const RelayLimits& limits)
      : database_(database), log_(log), limits_(limits), access_(database, log) {}

  [[nodiscard]] PairingAccess& access() { return access_; }

  /// After a join the peer must leave before it dies; after a refusal it must not.
  [[nodiscard]] Verdict agentJoined(const std::string& pairingID, RelayPeer& agent);
  void agentFrame(const std::string& pairingID, RelayPeer& agent, const Frame& frame);
  void agentLeft(const std::string& pairingID, const RelayPeer& agent);

  [[nodiscard]] Verdict phoneJoined(const PhoneHello& hello, RelayPeer& phone);
  [[nodiscard]] Verdict phoneFrame(const PhoneAddress& from, RelayPeer& phone, const Frame& frame);
  void phoneLeft(const PhoneAddress& address, const RelayPeer& phone);

  /// Closes every socket with 1001 and refuses new ones so.
  void close();

 private:
  struct Occupied {
    PairingRoom room;
    std::uint64_t snapshotNumber = 0;  ///< grows with each snapshot of any room
  };
  using Rooms = std::map<std::string, Occupied, std::less<>>;

  PairingRoom& room(const std::string& pairingID) { return rooms_[pairingID].room; }
  void discardWhenEmpty(const std::string& pairingID);
  [[nodiscard]] Verdict admitDevice(const PhoneHello& hello);
  void publishPhoneStatus(const std::string& pairingID);
  void publishSnapshot(const std::string& pairingID, const Frame& frame);
  [[nodiscard]] Verdict deliver(const PhoneAddress& from, RelayPeer& phone, const Frame& frame,
                                std::string_view decisionID);
  void unpairDevice(const std::string& pairingID, const std::string& deviceID);
  void revokePairing(const std::string& pairingID);
  [[nodiscard]] Verdict forgetPhone(const PhoneAddress& from, RelayPeer& phone);

  RelayDatabase& database_;
  RelayLog& log_;
  const RelayLimits& limits_;
  PairingAccess access_;
  Rooms rooms_;
  std::size_t snapshotBytes_ = 0;
  std::uint64_t snapshotCount_ = 0;
  bool closing_ = false;
};

}  // namespace tallyfox::server
