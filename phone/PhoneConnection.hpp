#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "phone/PhoneStore.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox::phone {

/// The computer's list as it last was.
struct PhoneSnapshot {
  Date observedAt{};
  bool accessibilityTrusted = false;
  std::vector<PendingApproval> approvals;
  bool operator==(const PhoneSnapshot&) const = default;
};

struct PhoneResult {
  std::string decisionID;
  ApprovalResultCommand result;
  bool operator==(const PhoneResult&) const = default;
};

/// Why a connection ended, as a sentence.
struct PhoneDisconnection {
  std::string reason;
  /// Whether the relay will refuse every further attempt as well: the pairing or this phone is not known there (any
  /// more), or what this phone says is not accepted.
  bool isFinal = false;
  bool operator==(const PhoneDisconnection&) const = default;
};

/// Called as tasks of the connection's queue.
struct PhoneEvents {
  std::function<void(bool agentConnected)> onWelcome;
  std::function<void(const PhoneSnapshot&)> onSnapshot;
  std::function<void(const PhoneResult&)> onResult;
  std::function<void(bool agentConnected)> onAgentStatus;
  /// The computer is offline: the relay did not pass the decision on.
  std::function<void(const std::string& decisionID)> onUndeliverable;
  /// A message could not be read or opened; the connection goes on.
  std::function<void(const std::string& problem)> onProblem;
  /// The last event.
  std::function<void(const PhoneDisconnection&)> onDisconnected;
};

/// The relay's WebSocket address for phones, for the base address of a pairing code.
[[nodiscard]] std::optional<std::string> phoneSocketURL(const std::string& backendURL);

/// One connection of the phone to the relay, from construction to its end. Lives on one queue.
class PhoneConnection {
 public:
  struct Dependencies {
    WebSocketTransport& transport;
    SerialQueue& queue;
    Clock& clock;
  };
  PhoneConnection(Dependencies dependencies, PhonePairing pairing, PhoneEvents events);
  ~PhoneConnection();
  PhoneConnection(const PhoneConnection&) = delete;
  PhoneConnection& operator=(const PhoneConnection&) = delete;

  /// Asks the computer to press a button; the result carries the returned decision identifier.
  std::string request(const ApprovalRequestCommand& command);
  /// Mutes or unmutes a dialog, as the command's action says; nothing answers but onUndeliverable.
  std::string changeSuppression(const ApprovalSuppressionCommand& command);
  /// Unpairs this phone at the relay; `completion` tells whether the message left.
  void leave(std::function<void(bool)> completion);

 private:
  template <typename Callback>
  auto posted(Callback callback);
  void sendHello();
  void sendSealed(Json message, const char* payloadKey, const Json& command);
  void send(const Json& message);
  void receiveNext();
  void handleFrame(const std::string& text);
  std::optional<std::string> handleMessage(const std::string& type, const Json& message);
  std::optional<std::string> handleSnapshot(const Json& message);
  std::optional<std::string> handleResult(const Json& message);
  void disconnected(const TransportError& error);

  Dependencies dependencies_;
  PhonePairing pairing_;
  PhoneEvents events_;
  std::unique_ptr<WebSocketTask> task_;
  Lifetime lifetime_;
};

}  // namespace tallyfox::phone
