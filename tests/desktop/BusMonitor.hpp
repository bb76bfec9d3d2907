#pragma once

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/Date.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::testing {

/// One message as the bus passed it on.
struct BusMessage {
  enum class Kind : std::uint8_t { call, answer, signal };
  Kind kind = Kind::call;
  Seconds moment{};      ///< on the steady clock, when the monitor had it
  std::string sender;    ///< unique name; the bus itself is "org.freedesktop.DBus"
  std::string receiver;  ///< as the sender named it; empty for a broadcast
  std::uint64_t serial = 0;
  std::uint64_t answeredSerial = 0;
  std::string member = {};  ///< of a property's getter with the property: "Get Name"
};

/// Hears every message on a bus, in a thread of its own. The bus works for each monitor, so that what is to be timed
/// is not to be monitored. Throws std::runtime_error when the bus does not let it.
class BusMonitor {
 public:
  explicit BusMonitor(const std::string& address);
  ~BusMonitor();
  BusMonitor(const BusMonitor&) = delete;
  BusMonitor& operator=(const BusMonitor&) = delete;

  /// Everything that the bus passed on since the last call, up to now.
  [[nodiscard]] std::vector<BusMessage> take();
  /// The process behind each unique name that is on this bus now.
  [[nodiscard]] std::map<std::string, pid_t> processes();
  /// The unique names that a process has on this bus now.
  [[nodiscard]] std::set<std::string> namesOf(pid_t process);

 private:
  void follow();
  void remember(sd_bus_message* message);

  linux_os::SdBusHandle marker_;  ///< asks the bus; its own messages are left out
  linux_os::SdBusHandle monitor_;
  std::string markerName_;
  std::atomic<bool> isEnding_ = false;
  std::mutex mutex_;
  std::condition_variable markSeen_;
  std::size_t marksSeen_ = 0;
  std::vector<BusMessage> heard_;
  std::thread thread_;
};

/// What one connection, or several of one program, asked others.
struct BusTraffic {
  struct Call {
    std::string peer;
    std::string member;
    /// 1 for a call that waited for no answer, else one more than the calls before it whose answers it may have waited
    /// for: those of the same peer, the bus and the registry.
    std::size_t round = 0;
  };
  std::vector<Call> calls;
  std::map<std::string, Seconds> lastAnswerByPeer;

  [[nodiscard]] static BusTraffic of(const std::vector<BusMessage>& messages, const std::set<std::string>& asker);
  [[nodiscard]] std::map<std::string, std::size_t> callsByMember() const;
  /// How many calls to each peer had to wait for each other.
  [[nodiscard]] std::map<std::string, std::size_t> roundsByPeer() const;
};

}  // namespace tallyfox::testing
