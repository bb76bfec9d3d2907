#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"
#include "phone/PhoneCommand.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::phone {

/// Gives the failed receives of connections through it a close code, as real sockets have it.
class ClosingTransport : public WebSocketTransport {
 public:
  explicit ClosingTransport(WebSocketTransport& inner) : inner_(inner) {}
  std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request, WebSocketEvents events) override {
    return std::make_unique<Task>(inner_.start(request, std::move(events)), closeCode);
  }
  std::shared_ptr<std::optional<std::uint16_t>> closeCode = std::make_shared<std::optional<std::uint16_t>>();

 private:
  class Task : public WebSocketTask {
   public:
    Task(std::unique_ptr<WebSocketTask> inner, std::shared_ptr<std::optional<std::uint16_t>> code)
        : inner_(std::move(inner)), code_(std::move(code)) {}
    void send(std::string text, std::function<void(std::expected<void, TransportError>)> completion) override {
      inner_->send(std::move(text), std::move(completion));
    }
    void receive(std::function<void(std::expected<Bytes, TransportError>)> completion) override {
      inner_->receive([completion = std::move(completion), code = code_](std::expected<Bytes, TransportError> frame) {
        if (!frame) frame.error().closeCode = *code;
        completion(std::move(frame));
      });
    }
    void cancel(std::uint16_t code) override { inner_->cancel(code); }

   private:
    std::unique_ptr<WebSocketTask> inner_;
    std::shared_ptr<std::optional<std::uint16_t>> code_;
  };
  WebSocketTransport& inner_;
};

/// A phone with a relay and a computer that the test plays, in virtual time.
class PhoneTest : public testing::Test {
 protected:
  static constexpr const char* secret = "end-to-end-secret";
  static constexpr const char* token = "relay-token";

  [[nodiscard]] static std::string pairingCode() {
    return R"({"type":"tallyfox.pairing","version":1,"backendURL":"https:\/\/relay.example","pairingID":"tallyfox-1","relaySecret":")" +
           std::string(token) + R"(","e2eSecret":")" + secret + "\"}";
  }
  void pair() {
    ASSERT_TRUE(store.save({"https://relay.example", "tallyfox-1", token, secret, "DEVICE", "Test phone"}).has_value());
  }
  /// Starts a command from its command line.
  void run(const std::vector<std::string>& arguments, const std::string& code = {}) {
    const auto options = PhoneOptions::parsed(arguments);
    ASSERT_TRUE(options.has_value()) << options.error();
    output.emplace(lines, errors, time.clock(), options->json);
    command = makePhoneCommand(*options, code, "Test phone", {transport, *queue, time.clock(), store, *output},
                               [this](int status) { exitStatus = status; });
    queue->post([this] { command->start(); });
    time.runDue();
  }
  [[nodiscard]] std::size_t socket() const { return network.sockets().size() - 1; }
  void open() {
    network.open(socket());
    time.runDue();
  }
  void deliver(const Json& message) {
    network.deliver(socket(), jsonText(message));
    time.runDue();
  }
  void welcome(bool agentConnected = true) {
    open();
    deliver({{"type", "relay.welcome"}, {"version", 1}, {"agentConnected", agentConnected}});
  }
  void close(std::optional<std::uint16_t> code) {
    *transport.closeCode = code;
    network.close(socket());
    time.runDue();
  }
  [[nodiscard]] static EncryptedRelayPayload sealed(const Json& plaintext, const std::string& with = secret) {
    return RelayCrypto::seal(bytesOf(jsonText(plaintext)), with).value();
  }
  void deliverSnapshot(const std::vector<PendingApproval>& approvals, const std::string& with = secret) {
    MacSnapshotRelayMessage message;
    message.observedAt = time.clock().now();
    message.accessibilityTrusted = true;
    message.approvalCount = static_cast<std::int64_t>(approvals.size());
    message.snapshotID = "ax1:x";
    message.encryptedApprovals = sealed(approvalsJson(approvals), with);
    deliver(message.json());
  }
  void deliverResult(const std::string& decisionID, const std::string& status, std::optional<std::string> error = {}) {
    ApprovalResultRelayMessage message;
    message.decisionID = decisionID;
    message.issuedAt = time.clock().now();
    message.encryptedResult = sealed(ApprovalResultCommand{approval().id, "Allow", status, std::move(error)}.json());
    deliver(message.json());
  }
  /// The frames of the newest connection that this phone sent, parsed.
  [[nodiscard]] std::vector<Json> sent() const {
    std::vector<Json> messages;
    for (const auto& text : network.sockets().back().sent)
      messages.push_back(parsedJson(text).value());
    return messages;
  }
  /// The command inside the last frame sent.
  [[nodiscard]] Json opened(const char* payloadKey) const {
    const auto payload = EncryptedRelayPayload::decoded(sent().back().at(payloadKey)).value();
    return parsedJson(textOf(RelayCrypto::open(payload, secret).value())).value();
  }
  [[nodiscard]] PendingApproval approval(const std::string& id = "3F2A9C1B-0000-4000-8000-000000000001") const {
    PendingApproval result;
    result.id = Uuid::parsed(id).value();
    result.suppressionID = Uuid::parsed("AAAAAAAA-0000-4000-8000-000000000002").value();
    result.detectedAt = time.clock().now() - std::chrono::seconds(12);
    result.appName = "Files";
    result.windowTitle = "Empty Trash?";
    result.windowRole = "AXWindow";
    result.messageLines = {"Empty all items\nfrom Trash?"};
    result.buttons = {{"Cancel", "AXButton", 0, 0, 1, 1}, {"Allow", "AXButton", 0, 0, 1, 1}};
    result.recommendedButtonLabel = "Allow";
    return result;
  }
  [[nodiscard]] std::string everythingSaid() const {
    std::string text;
    for (const auto& line : lines.lines())
      text += line + "\n";
    for (const auto& line : errors.lines())
      text += line + "\n";
    return text;
  }

  TemporaryFolder folder;
  mutable memory::VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("phone");
  memory::MemoryNetwork network{time.makeQueue("network")};
  ClosingTransport transport{network.webSockets()};
  memory::MemoryConsole lines;
  memory::MemoryConsole errors;
  PhoneStore store{folder.path()};
  std::optional<PhoneOutput> output;
  std::unique_ptr<PhoneCommand> command;
  std::optional<int> exitStatus;
};

}  // namespace tallyfox::phone
