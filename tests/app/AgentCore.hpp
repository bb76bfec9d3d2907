#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "app/AgentConfiguration.hpp"
#include "app/AgentWorld.hpp"
#include "app/ApprovalStore.hpp"
#include "app/ApprovalSuppressionStore.hpp"
#include "app/NotificationPauseStore.hpp"
#include "app/RelaySession.hpp"
#include "app/ScanCycle.hpp"
#include "app/TestPhone.hpp"
#include "pairing/PairingConfiguration.hpp"

namespace tallyfox {

/// Scan cycle and relay session on a whole world, with the test in the place of the scan worker and of the decisions.
class AgentCore : public testing::Test {
 protected:
  /// Answers the scan in flight.
  void finishScan(const std::vector<PendingApproval>& approvals) {
    ASSERT_TRUE(scanCompletion) << "no scan is in flight";
    std::exchange(scanCompletion, nullptr)(approvals);
  }
  void answerRegistrations(int status) { world.network.answerAll(HttpResponse{status}); }
  /// Starts the session and lets the relay accept token and socket.
  void connect() {
    answerRegistrations(204);
    session.startRelayIfConfigured();
    world.time.runDue();
    world.network.open(phone.socket());
    world.time.runDue();
  }

  AgentWorld world;
  TestPhone phone{world};
  AgentPlatform platform = world.platform();
  AgentConfiguration configuration{world.environment};
  PairingConfiguration pairing{{world.environment, world.bundle, world.defaults, world.keychain, world.console}};
  ApprovalStore store{Seconds(8), world.time.clock()};
  ApprovalSuppressionStore suppressionStore{world.defaults};
  NotificationPauseStore pauseStore{world.defaults, world.time.clock()};
  std::function<void(std::vector<PendingApproval>)> scanCompletion;
  int scans = 0;
  std::vector<ApprovalRequestEnvelope> requests;
  std::string decisionStatus = approval_status::accepted;
  std::function<void()> onDecision = [] {};

  ScanCycle scanCycle{{.mainQueue = *world.mainQueue,
                       .console = world.console,
                       .accessibility = world.desktop.accessibility(),
                       .bundle = world.bundle,
                       .notifications = world.notifications,
                       .interface = world.interface,
                       .configuration = configuration,
                       .pairing = pairing,
                       .store = store,
                       .pauseStore = pauseStore,
                       .scan =
                           [this](std::function<void(std::vector<PendingApproval>)> completion) {
                             ++scans;
                             scanCompletion = std::move(completion);
                           },
                       .publishSnapshot = [this](const std::vector<PendingApproval>& approvals, bool trusted,
                                                 bool force) { session.publishSnapshot(approvals, trusted, force); }}};
  RelaySession session{{.mainQueue = *world.mainQueue,
                        .makeQueue = platform.makeQueue,
                        .clock = world.time.clock(),
                        .console = world.console,
                        .http = world.network.http(),
                        .webSockets = world.network.webSockets(),
                        .pairing = pairing,
                        .store = store,
                        .suppressionStore = suppressionStore,
                        .scanCycle = scanCycle,
                        .interface = world.interface,
                        .decide = [this](const ApprovalRequestEnvelope& envelope) {
                          EXPECT_TRUE(world.mainQueue->isCurrent()) << "decisions belong to the main queue";
                          requests.push_back(envelope);
                          onDecision();
                          return ApprovalResultCommand{envelope.command.approvalID, envelope.command.buttonLabel,
                                                       decisionStatus, std::nullopt};
                        }}};
};

}  // namespace tallyfox
