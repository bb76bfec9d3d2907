#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "FakeNetwork.hpp"
#include "MemoryPairingStore.hpp"
#include "Recorders.hpp"
#include "RelayHub.hpp"
#include "cluster/ClusterBus.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server::testing {

using Verdict = RelayHub::Verdict;
using namespace std::chrono_literals;

/// A relay without sockets.
struct Node {
  Node(FakeNetwork& network, PairingStore& store, RelayLog& log, const RelayLimits& limits, const std::string& name)
      : transport(network, name),
        bus(transport, log, name, [&network] { return network.now; }),
        hub(store, log, limits, metrics, &bus) {}
  FakeTransport transport;
  ClusterBus bus;
  RelayMetrics metrics;
  RelayHub hub;
};

inline std::string uncertain(const std::string& decisionID) {
  return R"({"type":"decision.undeliverable","decisionID":")" + decisionID + R"(","reason":"uncertain"})";
}

/// Three nodes and one pairing; a test makes its clients come, talk and go.
class ClusterFixture : public ::testing::Test {
 protected:
  ClusterFixture() {
    const Pending registration(network.io, a.hub.access().registerToken("P1", "token-1"));
    network.settle();
    EXPECT_TRUE(registration.value());
  }
  Verdict agentJoins(Node& node, RecordedPeer& peer) {
    const Pending joined(network.io, node.hub.agentJoined("P1", peer));
    network.settle();
    return joined.value();
  }
  static PhoneHello hello(const std::string& deviceID) {
    return {.pairingID = "P1", .relaySecret = "token-1", .deviceID = deviceID, .deviceName = "N"};
  }
  Verdict phoneJoins(Node& node, const std::string& deviceID, RecordedPeer& peer) {
    const Pending joined(network.io, node.hub.phoneJoined(hello(deviceID), peer));
    network.settle();
    return joined.value();
  }
  void agentSays(Node& node, RecordedPeer& peer, const std::string& text) {
    const Pending said(network.io, node.hub.agentFrame("P1", peer, frameOf(text)));
    network.settle();
    EXPECT_TRUE(said.ended());
  }
  void phoneSays(Node& node, const std::string& deviceID, RecordedPeer& peer, const std::string& text) {
    saying.emplace_back(network.io, node.hub.phoneFrame({"P1", deviceID}, peer, frameOf(text)));
    network.settle();
  }
  /// Time in which the named nodes, and no others, say that they live.
  void pass(std::chrono::seconds time, const std::vector<Node*>& alive) {
    for (auto passed = 0s; passed < time; passed += 1s) {
      network.advance(1s);
      for (Node* const node : alive)
        node->bus.beat();
      network.settle();
    }
  }
  static std::optional<bool> connectedIn(const RecordedPeer& peer, const std::string& deviceID) {
    for (auto frame = peer.frames.rbegin(); frame != peer.frames.rend(); ++frame) {
      if (!frame->contains("phone.status")) continue;
      const auto status = PhoneStatusRelayMessage::decoded(Json::parse(*frame)).value();
      for (const auto& each : *status.phones)
        if (each.deviceID == deviceID) return each.connected;
      return std::nullopt;
    }
    return std::nullopt;
  }

  FakeNetwork network;
  MemoryPairingStore store;
  RecordedConsole console;
  RelayLog log{console};
  RelayLimits limits;
  Node a{network, store, log, limits, "node-a"}, b{network, store, log, limits, "node-b"},
      c{network, store, log, limits, "node-c"};
  RecordedPeer agent, newer, phone, other;
  std::list<Pending<Verdict>> saying;
};

}  // namespace tallyfox::server::testing
