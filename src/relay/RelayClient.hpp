#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Console.hpp"
#include "base/Json.hpp"
#include "base/Queue.hpp"
#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "model/RelayConnectionStatus.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox {

/// One WebSocket to the relay: sends the latest snapshot and results, receives decisions, reconnects three seconds
/// after a loss. All calls return at once and may come from any thread; the work runs on the client's own serial queue,
/// and so do the callbacks, which must hop to the main queue themselves.
class RelayClient : public std::enable_shared_from_this<RelayClient> {
 public:
  struct Dependencies {
    WebSocketTransport& transport;
    std::shared_ptr<SerialQueue> queue;  ///< this client's alone
    Clock& clock;
    Console& console;
  };
  struct Configuration {
    std::string url;
    std::string relaySecret;
    std::string cryptoSecret;
  };
  struct Callbacks {
    std::function<void(ApprovalRequestEnvelope)> onApprovalRequest;
    std::function<void(ApprovalSuppressionCommand)> onSuppressionCommand;
    std::function<void(RelayConnectionStatus)> onStatusChange;
  };
  [[nodiscard]] static std::shared_ptr<RelayClient> make(Dependencies dependencies, Configuration configuration,
                                                         Callbacks callbacks);
  ~RelayClient();
  RelayClient(const RelayClient&) = delete;
  RelayClient& operator=(const RelayClient&) = delete;

  void connect();
  void disconnect();
  /// `force` sends the list even when the relay already has the same one.
  void publishSnapshot(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted, bool force);
  void publishResult(std::string decisionID, ApprovalResultCommand command);
  /// Without a device the whole pairing. `completion` gets the outcome of the send, on the client's queue.
  void unpairPhone(std::optional<std::string> deviceID,
                   std::function<void(std::expected<void, TransportError>)> completion);

 private:
  struct State;
  class Poster;
  using SendCompletion = std::function<void(State&, const std::expected<void, TransportError>&)>;

  RelayClient(Dependencies dependencies, Configuration configuration, Callbacks callbacks);
  void startTask();
  void receiveNext();
  void socketOpened();
  /// Drops the current connection and arms the one reconnect.
  void connectionLost();
  void dispatch(const Bytes& frame);
  void sendLatestSnapshotIfNeeded();
  void send(const Json& message, SendCompletion completion);

  std::shared_ptr<SerialQueue> queue_;
  std::unique_ptr<State> state_;
};

}  // namespace tallyfox
