#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiReference.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::linux_os {

/// What Collection.GetMatches looks for anywhere below an object: those with all these states and one of these roles
/// (any when empty), the first `count` in the order of the tree.
struct AtspiSearch {
  std::uint64_t states = 0;
  std::vector<std::uint32_t> roles;
  std::int32_t count = 0;
};

using AtspiArgument = std::variant<std::int32_t, std::uint32_t, std::string, AtspiSearch>;

/// One method call. `interface` and `member` are literals.
struct AtspiCall {
  AtspiReference target;
  const char* interface = nullptr;
  const char* member = nullptr;
  std::vector<AtspiArgument> arguments;
};

/// How long a peer that let a call pass its time-out is left alone, by the number of its time-outs in a row, this one
/// included.
[[nodiscard]] std::chrono::seconds pauseAfterTimeouts(int timeoutsInARow);

/// One thread's connection to the accessibility bus, on which many calls are in flight at once. Each call has its
/// peer's time-out from the moment it is sent or the peer's last answer; only few are sent ahead of a peer's answers,
/// so that a long queue is no reason for a time-out. A peer that lets one pass is hung: all its calls fail at once, and
/// later ones without being sent, until it answers the one probe that it is sent then, or a while has passed that grows
/// with each time-out in a row. One that answers probes but nothing else waits for the end of that while too.
class AtspiBus {
 public:
  /// The reply is lent for the duration of the handler.
  using Answer = std::expected<sd_bus_message*, AXError>;
  using Handler = std::move_only_function<void(Answer)>;

  [[nodiscard]] static std::expected<std::unique_ptr<AtspiBus>, std::string> connect(const std::string& address);
  ~AtspiBus();
  AtspiBus(const AtspiBus&) = delete;
  AtspiBus& operator=(const AtspiBus&) = delete;

  /// Queues a call. Its handler runs inside `run`, exactly once, and may send more.
  void send(AtspiCall call, Handler handler);
  /// Until every call has had its answer, its time-out or its refusal.
  void run();
  /// False once the connection is lost; it does not come back.
  [[nodiscard]] bool isOpen() const;
  /// Of all later calls to this peer.
  void setTimeout(const std::string& busName, std::chrono::microseconds timeout);
  /// Of all later calls, whoever the peer, until it is taken away again.
  void setTimeoutOfAll(std::optional<std::chrono::microseconds> timeout) { timeoutOfAll_ = timeout; }
  /// Gives a peer that is held to be hung another chance: it was heard of.
  void retry(const std::string& busName);
  /// Told of each peer that let a call pass its time-out.
  void setOnSilence(std::function<void(const std::string& busName)> onSilence) { onSilence_ = std::move(onSilence); }
  /// Takes in what arrived meanwhile, such as the answer of a peer that was hung, without waiting. Not inside `run`.
  void catchUp();

 private:
  using Clock = std::chrono::steady_clock;
  struct Flight;
  struct Peer {
    std::deque<std::pair<AtspiCall, Handler>> waiting;
    std::unordered_set<Flight*> inFlight;
    std::chrono::microseconds timeout{0};
    Clock::time_point answeredAt;
    int timeoutsInARow = 0;
    Clock::time_point retryAt;  ///< while hung
    SdBusSlotHandle probe;      ///< present until it is answered
  };

  explicit AtspiBus(SdBusHandle bus);
  static int onReply(sd_bus_message* message, void* flight, sd_bus_error* error);
  static int onProbeAnswer(sd_bus_message* message, void* peer, sd_bus_error* error);
  Peer& peer(const std::string& busName);
  void sendWaiting(Peer& peer);
  bool sendNow(Peer& peer, AtspiCall call, Handler& handler);
  [[nodiscard]] static bool isHung(Peer& peer);
  std::chrono::microseconds refuseHung();
  void noteTimeout(const std::string& busName, Peer& peer);
  void probe(const std::string& busName, Peer& peer);
  void land(Flight* flight, sd_bus_message* message);
  void refuseAll(Peer& peer, AXError error);
  void refuseAll(AXError error);

  SdBusHandle bus_;
  std::unordered_map<std::string, Peer> peers_;
  std::unordered_map<std::string, std::chrono::microseconds> timeouts_;  ///< where they are not the initial one
  std::optional<std::chrono::microseconds> timeoutOfAll_;
  std::deque<std::pair<Handler, AXError>> refused_;
  std::function<void(const std::string&)> onSilence_;
  std::size_t unanswered_ = 0;
};

}  // namespace tallyfox::linux_os
