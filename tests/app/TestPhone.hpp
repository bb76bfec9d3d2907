#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/AgentWorld.hpp"
#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox {

/// A paired phone at the far end of the newest socket: opens what the agent seals and seals what it sends, with the
/// secret of the pairing.
class TestPhone {
 public:
  struct Snapshot {
    MacSnapshotRelayMessage message;
    std::vector<PendingApproval> approvals;
  };
  struct Result {
    std::string decisionID;
    ApprovalResultCommand command;
  };

  explicit TestPhone(AgentWorld& world) : world_(world) {}

  /// What the agent's keychain holds, as the pairing code would tell it.
  [[nodiscard]] InstallationSecrets secrets() const {
    const auto stored = world_.keychain.stored({"com.tallyfox.agent", "installation-secrets-v1", true});
    return InstallationSecrets::decoded(*parsedJson(textOf(stored.value()))).value();
  }
  [[nodiscard]] std::size_t socket() const { return world_.network.sockets().size() - 1; }

  /// Everything sent over one socket, in order.
  [[nodiscard]] std::vector<Snapshot> snapshots(std::size_t socket) const {
    std::vector<Snapshot> found;
    for (const Json& frame : frames(socket, relay_type::macSnapshot)) {
      const auto message = MacSnapshotRelayMessage::decoded(frame).value();
      found.push_back({message, decodedApprovals(opened(message.encryptedApprovals)).value()});
    }
    return found;
  }
  [[nodiscard]] std::vector<Snapshot> snapshots() const { return snapshots(socket()); }
  /// The list that the newest socket has brought; empty before its first snapshot.
  [[nodiscard]] std::vector<PendingApproval> approvals() const {
    const auto& sent = world_.network.sockets().at(socket()).sent;
    const auto last = std::find_if(sent.rbegin(), sent.rend(), [](const std::string& text) {
      return text.find(relay_type::macSnapshot) != std::string::npos;
    });
    if (last == sent.rend()) return {};
    const auto message = MacSnapshotRelayMessage::decoded(parsedJson(*last).value()).value();
    return decodedApprovals(opened(message.encryptedApprovals)).value();
  }
  /// From the frame with this number on.
  [[nodiscard]] std::vector<Result> results(std::size_t socket, std::size_t from = 0) const {
    std::vector<Result> found;
    for (const Json& frame : frames(socket, relay_type::approvalResult, from)) {
      const auto message = ApprovalResultRelayMessage::decoded(frame).value();
      found.push_back({message.decisionID, ApprovalResultCommand::decoded(opened(message.encryptedResult)).value()});
    }
    return found;
  }
  [[nodiscard]] std::optional<ApprovalResultCommand> result(const std::string& decisionID) const {
    for (const Result& result : results(socket())) {
      if (result.decisionID == decisionID) return result.command;
    }
    return std::nullopt;
  }
  [[nodiscard]] std::vector<Json> frames(std::size_t socket, std::string_view type, std::size_t from = 0) const {
    std::vector<Json> found;
    const auto& sent = world_.network.sockets().at(socket).sent;
    for (std::size_t number = from; number < sent.size(); ++number) {
      // Sealed payloads have no dots: a type that does not occur is not the frame's.
      if (sent[number].find(type) == std::string::npos) continue;
      const Json frame = parsedJson(sent[number]).value();
      if (relayMessageType(frame).value() == type) found.push_back(frame);
    }
    return found;
  }

  void request(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel) {
    const ApprovalRequestRelayMessage message{
        decisionID, sealed(ApprovalRequestCommand{approvalID, buttonLabel}.json()), world_.now()};
    world_.network.deliver(socket(), jsonText(message.json()));
  }
  void suppress(const Uuid& suppressionID) { command("suppress", relay_type::approvalSuppress, suppressionID); }
  void unsuppress(const Uuid& suppressionID) { command("unsuppress", relay_type::approvalUnsuppress, suppressionID); }
  void command(const std::string& action, std::string_view type, const Uuid& suppressionID) {
    const ApprovalSuppressionRelayMessage message{
        std::string(type),
        "suppression",
        sealed(ApprovalSuppressionCommand{action, std::nullopt, suppressionID}.json()),
        {}};
    world_.network.deliver(socket(), jsonText(message.json()));
  }

 private:
  [[nodiscard]] Json opened(const EncryptedRelayPayload& payload) const {
    return parsedJson(textOf(RelayCrypto::open(payload, secrets().e2eSecret).value())).value();
  }
  [[nodiscard]] EncryptedRelayPayload sealed(const Json& plaintext) const {
    return RelayCrypto::seal(bytesOf(jsonText(plaintext)), secrets().e2eSecret).value();
  }

  AgentWorld& world_;
};

}  // namespace tallyfox
