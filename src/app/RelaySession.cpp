#include "app/RelaySession.hpp"

#include <optional>
#include <utility>

#include "base/Url.hpp"
#include "model/RelayAddress.hpp"

namespace tallyfox {
namespace {

constexpr Seconds startupRetryDelay{3.0};
/// How long the relay may take to accept the farewell of a pairing before the new identity comes without it.
constexpr Seconds unpairPatience{3.0};
constexpr const char* clientQueueLabel = "quarrystone.relay-client";

}  // namespace

RelaySession::RelaySession(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

void RelaySession::startRelayIfConfigured() {
  const auto configuration = dependencies_.pairing.launchConfiguration();
  if (!configuration) {
    // A keychain that is still locked when the owner has just logged in hides the credentials for a while.
    if (dependencies_.pairing.isRelayConfigured()) scheduleRelayStartupRetry();
    return;
  }
  const auto url = Url::parsed(configuration->relayURL);
  if (!url) {
    dependencies_.console.printLine("Invalid relay URL: " + configuration->relayURL);
    return;
  }
  if (!isAllowedRelayURL(*url)) {
    dependencies_.console.printLine("Refusing insecure relay URL: " + configuration->relayURL);
    return;
  }

  cancelStartupRetry();
  cancelRegistration();
  disconnect();
  if (const auto secrets = dependencies_.pairing.installationSecrets(std::nullopt)) {
    registerToken(*configuration, *secrets);
  } else {
    scheduleRelayStartupRetry();
  }
}

void RelaySession::registerToken(const RelayLaunchConfiguration& configuration, const InstallationSecrets& secrets) {
  auto finish = lifetime_.guard(
      [this, generation = relayGeneration_, url = configuration.relayURL, secrets](const RegistrationResult& result) {
        finishRelayRegistration(generation, url, secrets, result);
      });
  registration_ =
      registerRelayAuthToken(dependencies_.http, configuration, secrets.relayAuthToken,
                             [&mainQueue = dependencies_.mainQueue, finish](const RegistrationResult& result) {
                               mainQueue.post([finish, result]() mutable { finish(result); });
                             });
}

void RelaySession::finishRelayRegistration(std::int64_t generation, const std::string& url,
                                           const InstallationSecrets& secrets, const RegistrationResult& result) {
  if (generation != relayGeneration_) return;
  registration_.reset();
  if (result) {
    isIdentityUnproven_ = false;
    connectClient(url, secrets);
  } else {
    handleFailedRegistration(result.error());
  }
}

void RelaySession::handleFailedRegistration(const RelayRegistrationError& error) {
  if (error.kind != RelayRegistrationError::Kind::pairingRevoked) {
    dependencies_.console.printLine("Unable to register relay token: " + error.description());
    scheduleRelayStartupRetry();
    return;
  }
  dependencies_.pairing.rotateInstallationIdentity();
  // A relay that calls even a brand-new identity revoked must not be asked without a pause.
  if (std::exchange(isIdentityUnproven_, true)) {
    scheduleRelayStartupRetry();
  } else {
    startRelayIfConfigured();
  }
  dependencies_.interface.refreshStatusWindow();
}

void RelaySession::connectClient(const std::string& url, const InstallationSecrets& secrets) {
  client_ = RelayClient::make({.transport = dependencies_.webSockets,
                               .queue = dependencies_.makeQueue(clientQueueLabel),
                               .clock = dependencies_.clock,
                               .console = dependencies_.console},
                              {.url = url, .relaySecret = secrets.relayAuthToken, .cryptoSecret = secrets.e2eSecret},
                              {.onApprovalRequest = onMainQueue(&RelaySession::handleRelayApprovalRequest),
                               .onSuppressionCommand = onMainQueue(&RelaySession::handleRelaySuppressionCommand),
                               .onStatusChange = onMainQueue(&RelaySession::handleStatusChange)});
  client_->connect();
  dependencies_.scanCycle.publishCurrentApprovalSnapshot(true);
}

template <typename Value>
std::function<void(Value)> RelaySession::onMainQueue(void (RelaySession::*handler)(const Value&)) {
  auto deliver = lifetime_.guard([this, generation = relayGeneration_, handler](const Value& value) {
    if (generation == relayGeneration_) (this->*handler)(value);
  });
  return [&mainQueue = dependencies_.mainQueue, deliver](Value value) {
    mainQueue.post([deliver, value = std::move(value)]() mutable { deliver(value); });
  };
}

void RelaySession::scheduleRelayStartupRetry() {
  startupRetryTimer_ =
      dependencies_.mainQueue.after(startupRetryDelay, lifetime_.guard([this] { startRelayIfConfigured(); }));
}

void RelaySession::publishSnapshot(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted,
                                   bool force) {
  if (client_) client_->publishSnapshot(approvals, accessibilityTrusted, force);
}

void RelaySession::handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope) {
  const ApprovalResultCommand result = dependencies_.decide(envelope);
  if (result.status == approval_status::accepted) {
    dependencies_.store.remove(result.approvalID, std::nullopt);
    dependencies_.scanCycle.discardScanInFlight();
    dependencies_.scanCycle.publishCurrentApprovalSnapshot(false);
    dependencies_.scanCycle.recount();
    dependencies_.scanCycle.scheduleScan("remote-decision");
  }
  if (client_) client_->publishResult(envelope.decisionID, result);
}

void RelaySession::handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command) {
  if (command.action == "suppress") {
    dependencies_.suppressionStore.suppress(command.suppressionID);
    dependencies_.store.removeSuppressed(command.suppressionID);
    dependencies_.scanCycle.discardScanInFlight();
    dependencies_.scanCycle.publishCurrentApprovalSnapshot(false);
    dependencies_.scanCycle.recount();
  } else if (command.action == "unsuppress") {
    dependencies_.suppressionStore.unsuppress(command.suppressionID);
    dependencies_.scanCycle.scheduleConfirmedScan("unsuppressed");
  }
}

void RelaySession::handleStatusChange(const RelayConnectionStatus& status) {
  relayStatus_ = status;
  dependencies_.interface.refreshStatusWindow();
}

void RelaySession::unpairPhoneFromStatusWindow() {
  if (pairingResetInProgress_) return;
  pairingResetInProgress_ = true;
  dependencies_.interface.refreshStatusWindow();
  if (!client_) {
    rotatePairingIdentityAfterUnpair();
    return;
  }
  auto proceed = lifetime_.guard([this, attempt = ++unpairAttempt_] {
    if (attempt == unpairAttempt_ && pairingResetInProgress_) rotatePairingIdentityAfterUnpair();
  });
  unpairTimeout_ = dependencies_.mainQueue.after(unpairPatience, proceed);
  client_->unpairPhone(
      std::nullopt, [&mainQueue = dependencies_.mainQueue, proceed](const auto& /*sent*/) { mainQueue.post(proceed); });
}

void RelaySession::rotatePairingIdentityAfterUnpair() {
  unpairTimeout_.reset();
  disconnect();
  dependencies_.pairing.rotateInstallationIdentity();
  startRelayIfConfigured();
  dependencies_.scanCycle.scheduleScan("pairing-rotated");
  pairingResetInProgress_ = false;
  dependencies_.interface.refreshStatusWindow();
}

void RelaySession::cancelRegistration() {
  ++relayGeneration_;
  registration_.reset();
}

void RelaySession::disconnect() {
  ++relayGeneration_;
  if (!client_) return;
  client_->disconnect();
  client_.reset();
  handleStatusChange({});
}

}  // namespace tallyfox
