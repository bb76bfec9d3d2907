#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/AgentInterface.hpp"
#include "app/ApprovalStore.hpp"
#include "app/ApprovalSuppressionStore.hpp"
#include "app/ScanCycle.hpp"
#include "base/Console.hpp"
#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "model/RelayCommands.hpp"
#include "model/RelayConnectionStatus.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "platform/HttpClient.hpp"
#include "platform/WebSocketTransport.hpp"
#include "relay/RelayClient.hpp"
#include "relay/RelayRegistration.hpp"

namespace tallyfox {

/// The agent's side of the pairing: registers the token, keeps the client of the current generation, and lets the
/// phone's commands take effect. Main thread.
class RelaySession {
 public:
  struct Dependencies {
    SerialQueue& mainQueue;
    std::function<std::shared_ptr<SerialQueue>(const std::string& label)> makeQueue;
    Clock& clock;
    Console& console;
    HttpClient& http;
    WebSocketTransport& webSockets;
    PairingConfiguration& pairing;
    ApprovalStore& store;
    ApprovalSuppressionStore& suppressionStore;
    ScanCycle& scanCycle;
    AgentInterface& interface;
    /// Carries out a request and says what became of it; may block.
    std::function<ApprovalResultCommand(const ApprovalRequestEnvelope&)> decide;
  };
  explicit RelaySession(Dependencies dependencies);

  /// Starts or restarts the connection. Whatever an earlier start still brings is dropped.
  void startRelayIfConfigured();
  /// Does nothing without a client.
  void publishSnapshot(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted, bool force);
  /// Tells the relay that the pairing ends, then takes a new identity, whether or not the relay could be told.
  void unpairPhoneFromStatusWindow();

  // The steps of ending, in the order in which they are to be called.
  void cancelStartupRetry() { startupRetryTimer_.reset(); }
  void cancelRegistration();
  void disconnect();

  [[nodiscard]] const RelayConnectionStatus& relayStatus() const { return relayStatus_; }
  [[nodiscard]] bool pairingResetInProgress() const { return pairingResetInProgress_; }

 private:
  using RegistrationResult = std::expected<void, RelayRegistrationError>;

  void registerToken(const RelayLaunchConfiguration& configuration, const InstallationSecrets& secrets);
  void finishRelayRegistration(std::int64_t generation, const std::string& url, const InstallationSecrets& secrets,
                               const RegistrationResult& result);
  void handleFailedRegistration(const RelayRegistrationError& error);
  void connectClient(const std::string& url, const InstallationSecrets& secrets);
  void scheduleRelayStartupRetry();
  void rotatePairingIdentityAfterUnpair();

  void handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope);
  void handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command);
  void handleStatusChange(const RelayConnectionStatus& status);

  /// A client's callback that runs the handler on the main queue, unless the client has been replaced by then.
  template <typename Value>
  [[nodiscard]] std::function<void(Value)> onMainQueue(void (RelaySession::*handler)(const Value&));

  Dependencies dependencies_;
  std::shared_ptr<RelayClient> client_;
  RelayConnectionStatus relayStatus_;
  std::unique_ptr<HttpExchange> registration_;
  ScheduledHandle startupRetryTimer_;
  ScheduledHandle unpairTimeout_;
  std::int64_t relayGeneration_ = 0;
  std::int64_t unpairAttempt_ = 0;
  bool pairingResetInProgress_ = false;
  bool isIdentityUnproven_ = false;  ///< made after a revocation, not yet accepted by the relay
  Lifetime lifetime_;
};

}  // namespace tallyfox
