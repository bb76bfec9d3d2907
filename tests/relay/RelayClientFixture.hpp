#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/SampleApproval.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"
#include "relay/RelayClient.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox {

/// A client on a network that the test drives, in virtual time.
class RelayClientFixture : public testing::Test {
 protected:
  using SendOutcome = std::expected<void, TransportError>;

  static inline const std::string secret = "end-to-end";

  void SetUp() override {
    client = RelayClient::make(
        {.transport = network.webSockets(), .queue = clientQueue, .clock = time.clock(), .console = console},
        {.url = "wss://relay.example.com/socket", .relaySecret = "token", .cryptoSecret = secret},
        {.onApprovalRequest =
             [this](ApprovalRequestEnvelope request) {
               onQueue = onQueue && clientQueue->isCurrent();
               requests.push_back(std::move(request));
             },
         .onSuppressionCommand =
             [this](ApprovalSuppressionCommand command) {
               onQueue = onQueue && clientQueue->isCurrent();
               suppressions.push_back(std::move(command));
             },
         .onStatusChange =
             [this](RelayConnectionStatus status) {
               onQueue = onQueue && clientQueue->isCurrent();
               statuses.push_back(std::move(status));
             }});
  }

  const memory::MemoryNetwork::Socket& socket(std::size_t number = 0) { return network.sockets().at(number); }
  std::size_t socketCount() { return network.sockets().size(); }
  void connect() {
    client->connect();
    time.runDue();
  }
  void open(std::size_t number = 0) {
    network.open(number);
    time.runDue();
  }
  void connectAndOpen() {
    connect();
    open();
    console.clear();
    statuses.clear();
  }
  void deliver(const std::string& text, std::size_t number = 0) {
    network.deliver(number, text);
    time.runDue();
  }
  void deliver(const Json& message) { deliver(jsonText(message)); }
  void publish(const std::vector<PendingApproval>& approvals, bool trusted = true, bool force = false) {
    client->publishSnapshot(approvals, trusted, force);
    time.runDue();
  }

  static EncryptedRelayPayload sealed(const Json& command) {
    return RelayCrypto::seal(bytesOf(jsonText(command)), secret).value();
  }
  static Json request(const std::string& decisionID = "decision-1") {
    const ApprovalRequestCommand command{sampleApproval().id, "Cancel"};
    return ApprovalRequestRelayMessage{decisionID, sealed(command.json()), std::nullopt}.json();
  }
  static Json unsealed(const EncryptedRelayPayload& payload) {
    return parsedJson(textOf(RelayCrypto::open(payload, secret).value())).value();
  }
  static ApprovalResultCommand acceptedResult() {
    return {sampleApproval().id, "Cancel", approval_status::accepted, std::nullopt};
  }
  Json sentJson(std::size_t frame, std::size_t number = 0) { return parsedJson(socket(number).sent.at(frame)).value(); }
  MacSnapshotRelayMessage sentSnapshot(std::size_t frame, std::size_t number = 0) {
    return MacSnapshotRelayMessage::decoded(sentJson(frame, number)).value();
  }

  memory::VirtualTime time;
  memory::MemoryNetwork network{time.makeQueue("transport")};
  memory::MemoryConsole console;
  std::shared_ptr<SerialQueue> clientQueue = time.makeQueue("client");
  std::shared_ptr<RelayClient> client;
  std::vector<ApprovalRequestEnvelope> requests;
  std::vector<ApprovalSuppressionCommand> suppressions;
  std::vector<RelayConnectionStatus> statuses;
  bool onQueue = true;  ///< every callback came on the client's queue
};

}  // namespace tallyfox
