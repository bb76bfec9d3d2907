#include "phone/PhoneConnection.hpp"

#include <utility>

#include "base/Json.hpp"
#include "base/Url.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::phone {
namespace {

/// What the relay means by its close codes.
PhoneDisconnection disconnectionFor(const TransportError& error) {
  switch (error.closeCode.value_or(0)) {
    case 4000:
      return {"Another command of this phone took over.", false};
    case 4400:
      return {"The relay did not understand this phone.", true};
    case 4401:
      return {"The relay does not know this pairing, or its secret is wrong.", true};
    case 4008:
      return {"The relay closed a connection that was too slow.", false};
    case 4410:
      return {"This phone is no longer paired.", true};
    case 4429:
      return {"Too many phones are paired with this computer.", true};
    default:
      return {error.description, false};
  }
}

std::expected<Json, std::string> opened(const EncryptedRelayPayload& payload, const std::string& secret) {
  const auto plaintext = RelayCrypto::open(payload, secret);
  if (!plaintext) return std::unexpected("A message of the computer could not be decrypted.");
  auto json = parsedJson(textOf(*plaintext));
  if (!json) return std::unexpected(json.error().description);
  return std::move(*json);
}

}  // namespace

std::optional<std::string> phoneSocketURL(const std::string& backendURL) {
  auto url = Url::parsed(backendURL);
  if (!url || !url->host || (url->scheme != "http" && url->scheme != "https")) return std::nullopt;
  url->scheme = url->scheme == "https" ? "wss" : "ws";
  url->path = "/phone";
  url->query.reset();
  url->fragment.reset();
  return url->text();
}

/// A callback for the transport's thread that runs `callback` as a task of the queue, while this connection lives.
template <typename Callback>
auto PhoneConnection::posted(Callback callback) {
  return [&queue = dependencies_.queue, guarded = lifetime_.guard(std::move(callback))](const auto&... arguments) {
    queue.post([guarded, ... copies = arguments]() mutable { guarded(copies...); });
  };
}

PhoneConnection::PhoneConnection(Dependencies dependencies, PhonePairing pairing, PhoneEvents events)
    : dependencies_(dependencies), pairing_(std::move(pairing)), events_(std::move(events)) {
  WebSocketRequest request;
  request.url = phoneSocketURL(pairing_.backendURL).value_or(std::string());
  task_ = dependencies_.transport.start(request, {posted([this] { sendHello(); }), [] {}});
  receiveNext();
}

PhoneConnection::~PhoneConnection() = default;

void PhoneConnection::sendHello() {
  send(Json{{"type", "phone.hello"},
            {"version", 1},
            {"pairingID", pairing_.pairingID},
            {"relaySecret", pairing_.relaySecret},
            {"deviceID", pairing_.deviceID},
            {"deviceName", pairing_.deviceName},
            {"platform", "cli"}});
}

// A failed send needs no handling: the same loss fails the pending receive.
void PhoneConnection::send(const Json& message) {
  task_->send(jsonText(message), [](const auto&) {});
}

void PhoneConnection::sendSealed(Json message, const char* payloadKey, const Json& command) {
  const auto payload = RelayCrypto::seal(bytesOf(jsonText(command)), pairing_.e2eSecret);
  if (!payload) return events_.onProblem("The message could not be encrypted: " + description(payload.error()));
  message[payloadKey] = payload->json();
  message["issuedAt"] = formattedISO8601(dependencies_.clock.now());
  send(message);
}

std::string PhoneConnection::request(const ApprovalRequestCommand& command) {
  std::string decisionID = Uuid::random().text();
  sendSealed({{"type", relay_type::approvalRequest}, {"decisionID", decisionID}}, "encryptedRequest", command.json());
  return decisionID;
}

std::string PhoneConnection::changeSuppression(const ApprovalSuppressionCommand& command) {
  std::string decisionID = Uuid::random().text();
  const auto type = command.action == "suppress" ? relay_type::approvalSuppress : relay_type::approvalUnsuppress;
  sendSealed({{"type", type}, {"decisionID", decisionID}}, "encryptedSuppression", command.json());
  return decisionID;
}

void PhoneConnection::leave(std::function<void(bool)> completion) {
  task_->send(jsonText(Json{{"type", "phone.leave"}}),
              posted([completion = std::move(completion)](const auto& sent) { completion(sent.has_value()); }));
}

void PhoneConnection::receiveNext() {
  task_->receive(posted([this](const std::expected<Bytes, TransportError>& frame) {
    if (!frame) return disconnected(frame.error());
    // What a handler does may end this connection, so the next frame is asked for first.
    receiveNext();
    handleFrame(std::string(textOf(*frame)));
  }));
}

void PhoneConnection::handleFrame(const std::string& text) {
  const auto message = parsedJson(text);
  const auto type = message ? relayMessageType(*message) : std::unexpected(message.error());
  const auto onProblem = events_.onProblem;
  std::optional<std::string> problem;
  if (type)
    problem = handleMessage(*type, *message);
  else
    problem = type.error().description;
  if (problem) onProblem("A message could not be read: " + *problem);
}

/// Says what was wrong with the message. Types that are not known are ignored. This object may be gone afterwards.
std::optional<std::string> PhoneConnection::handleMessage(const std::string& type, const Json& message) {
  if (type == relay_type::macSnapshot) return handleSnapshot(message);
  if (type == relay_type::approvalResult) return handleResult(message);
  JsonObjectReader reader(message);
  if (type == "relay.welcome" || type == "agent.status") {
    const bool agentConnected = reader.boolean("agentConnected");
    if (reader.error()) return reader.error()->description;
    const auto callback = type == "relay.welcome" ? events_.onWelcome : events_.onAgentStatus;
    callback(agentConnected);
  } else if (type == "decision.undeliverable") {
    const std::string decisionID = reader.string("decisionID");
    if (reader.error()) return reader.error()->description;
    const auto callback = events_.onUndeliverable;
    callback(decisionID);
  } else if (type == "phone.unpaired") {
    disconnected({"The computer unpaired this phone.", 4410});
  }
  return std::nullopt;
}

std::optional<std::string> PhoneConnection::handleSnapshot(const Json& message) {
  const auto outer = MacSnapshotRelayMessage::decoded(message);
  if (!outer) return outer.error().description;
  const auto json = opened(outer->encryptedApprovals, pairing_.e2eSecret);
  if (!json) return json.error();
  auto approvals = decodedApprovals(*json);
  if (!approvals) return approvals.error().description;
  const auto callback = events_.onSnapshot;
  callback({outer->observedAt, outer->accessibilityTrusted, std::move(*approvals)});
  return std::nullopt;
}

std::optional<std::string> PhoneConnection::handleResult(const Json& message) {
  const auto outer = ApprovalResultRelayMessage::decoded(message);
  if (!outer) return outer.error().description;
  const auto json = opened(outer->encryptedResult, pairing_.e2eSecret);
  if (!json) return json.error();
  auto result = ApprovalResultCommand::decoded(*json);
  if (!result) return result.error().description;
  const auto callback = events_.onResult;
  callback({outer->decisionID, std::move(*result)});
  return std::nullopt;
}

void PhoneConnection::disconnected(const TransportError& error) {
  const auto callback = std::exchange(events_.onDisconnected, nullptr);
  if (callback) callback(disconnectionFor(error));
}

}  // namespace tallyfox::phone
