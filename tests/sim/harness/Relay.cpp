#include "sim/harness/Relay.hpp"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "pairing/MacKeychainStore.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::sim {
namespace {

constexpr double quick = 0.02;
constexpr double slowest = 12;
constexpr std::size_t rememberedApprovals = 40;

std::optional<InstallationSecrets> storedSecrets(const memory::MemoryKeychain& keychain) {
  for (const bool isProtected : {true, false}) {
    const auto stored = keychain.stored({"com.tallyfox.agent", "installation-secrets-v1", isProtected});
    const auto json = stored ? parsedJson(textOf(*stored)) : std::unexpected(DecodingError{});
    if (!json) continue;
    if (const auto secrets = InstallationSecrets::decoded(*json)) return *secrets;
  }
  return std::nullopt;
}

}  // namespace

Relay::Relay(AgentWorld& world, SerialQueue& director, Checker& checker, Screen& screen, const Scenario& scenario,
             Random random)
    : world_(world), director_(director), checker_(checker), screen_(screen), scenario_(scenario), random_(random) {
  world_.network.onRequest([this](std::size_t request) { answerRegistration(request); });
  world_.network.onStart([this](std::size_t socket) { accept(socket); });
  world_.network.onFrame([this](std::size_t /*socket*/, const std::string& text) { receive(text); });
}

Relay::~Relay() {
  world_.network.onRequest({});
  world_.network.onStart({});
  world_.network.onFrame({});
}

void Relay::later(double seconds, std::function<void()> work) {
  // Never cancelled: it does nothing once the relay is gone.
  director_.post([this, alive = std::weak_ptr(alive_), seconds, work = std::move(work)]() mutable {
    if (!alive.lock()) return;
    auto handle = std::make_shared<ScheduledHandle>();
    *handle = director_.after(Seconds(seconds), [alive, handle, work = std::move(work)] {
      if (alive.lock()) work();
      handle->reset();
    });
  });
}

void Relay::pairAgain() {
  const auto secrets = storedSecrets(world_.keychain);
  if (!secrets || (!pairings_.empty() && pairings_.back() == *secrets)) return;
  pairings_.push_back(*secrets);
  shown_.clear();
  newest_.clear();
}

void Relay::answerRegistration(std::size_t request) {
  pairAgain();
  const HttpRequest& sent = world_.network.requests().at(request).request;
  checker_.wire(sent.url, secretTexts());
  checker_.wire(sent.body, secretTexts());
  static constexpr std::array statuses = {401, 410, 500, 503, 0};
  int status = 204;
  if (!isHealthy_ && random_.chance(scenario_.registrationFails)) status = statuses[random_.pick(statuses.size())];
  if (status == 0) return;  // it never answers
  later(random_.between(quick, 0.3), [this, request, status] { world_.network.answer(request, HttpResponse{status}); });
}

void Relay::accept(std::size_t socket) {
  const bool isRefused = !isHealthy_ && scenario_.dropSocket > 0 && random_.chance(0.2);
  later(random_.between(quick, 0.3), [this, socket, isRefused] {
    if (isRefused && !world_.network.sockets()[socket].isOpen) return world_.network.refuse(socket);
    world_.network.open(socket);
  });
}

bool Relay::isConnected() const {
  const auto& sockets = world_.network.sockets();
  return !sockets.empty() && sockets.back().isOpen;
}

void Relay::dropSocket() {
  const auto& sockets = world_.network.sockets();
  if (!isConnected()) return;
  world_.network.close(sockets.back().number);
}

std::vector<std::string> Relay::secretTexts() const {
  std::vector<std::string> texts;
  for (const InstallationSecrets& secrets : pairings_) {
    texts.push_back(secrets.e2eSecret);
    texts.push_back(secrets.relayAuthToken);
  }
  return texts;
}

std::optional<Json> Relay::opened(const EncryptedRelayPayload& payload) const {
  for (auto secrets = pairings_.rbegin(); secrets != pairings_.rend(); ++secrets) {
    if (const auto plain = RelayCrypto::open(payload, secrets->e2eSecret)) return parsedJson(textOf(*plain)).value();
  }
  return std::nullopt;
}

void Relay::receive(const std::string& text) {
  pairAgain();
  checker_.frame(text, secretTexts());
  const auto frame = parsedJson(text);
  if (!frame) return;
  const std::string type = relayMessageType(*frame).value_or("");
  if (type == relay_type::macSnapshot) {
    const auto message = MacSnapshotRelayMessage::decoded(*frame);
    const auto plain = message ? opened(message->encryptedApprovals) : std::nullopt;
    if (!plain) return checker_.fail("a snapshot that no phone can open");
    auto approvals = decodedApprovals(*plain);
    if (!approvals) return checker_.fail("a snapshot that no phone can read");
    // Ids are drawn anew in each run; the order must not follow them, or no run would repeat.
    std::ranges::sort(*approvals, {}, [](const PendingApproval& approval) {
      return std::tie(approval.windowTitle, approval.messageLines, approval.windowFrame.x, approval.windowFrame.y);
    });
    checker_.snapshot(*message, *approvals);
    showLater(*std::move(approvals));
  } else if (type == relay_type::approvalResult) {
    const auto message = ApprovalResultRelayMessage::decoded(*frame);
    const auto plain = message ? opened(message->encryptedResult) : std::nullopt;
    const auto command = plain ? ApprovalResultCommand::decoded(*plain) : std::unexpected(DecodingError{});
    if (!command) return checker_.fail("a result that no phone can read");
    checker_.result(message->decisionID, *command);
  } else if (type != relay_type::phoneUnpair) {
    checker_.fail("a frame of an unknown type: " + type);
  }
}

double Relay::delay() {
  const bool isLate = !isHealthy_ && random_.chance(scenario_.frameIsLate);
  return random_.between(quick, isLate ? slowest : 0.1);
}

void Relay::heal() {
  isHealthy_ = true;
  shown_ = newest_;
}

void Relay::showLater(std::vector<PendingApproval> approvals) {
  newest_ = approvals;
  // Late lists overtake each other, as they do when a phone comes back; in the end the newest stays.
  later(isHealthy_ ? quick : delay(), [this, approvals = std::move(approvals)] {
    shown_ = isHealthy_ ? newest_ : approvals;
    for (const PendingApproval& approval : approvals)
      if (std::ranges::find(everShown_, approval.id, &PendingApproval::id) == everShown_.end())
        everShown_.push_back(approval);
    if (everShown_.size() > rememberedApprovals) everShown_.erase(everShown_.begin());
  });
}

EncryptedRelayPayload Relay::sealed(const Json& plaintext, bool isKeyRight) const {
  const std::string key = isKeyRight ? pairings_.back().e2eSecret : "another pairing's secret";
  return RelayCrypto::seal(bytesOf(jsonText(plaintext)), key).value();
}

void Relay::send(const std::string& text, const std::function<void(std::size_t socket)>& onDelivery) {
  const std::size_t socket = world_.network.sockets().back().number;
  const int copies = !isHealthy_ && random_.chance(scenario_.frameRepeats) ? 2 : 1;
  for (int copy = 0; copy < copies; ++copy)
    later(delay(), [this, socket, text, onDelivery] { deliver(socket, text, onDelivery); });
}

void Relay::deliver(std::size_t socket, const std::string& text,
                    const std::function<void(std::size_t socket)>& onDelivery) {
  if (!world_.network.sockets().at(socket).isOpen) return;
  checker_.tell("a frame for the agent");
  onDelivery(socket);
  world_.network.deliver(socket, text);
}

void Relay::request() {
  if (!isConnected() || pairings_.empty()) return;
  const bool isOfOldList = random_.chance(0.1) && !everShown_.empty();
  if (shown_.empty() && !isOfOldList) return;
  const PendingApproval approval = isOfOldList ? random_.one(everShown_) : random_.one(shown_);
  const bool isMadeUp = random_.chance(0.05);
  const std::vector<std::string> labels = approval.buttonLabels();
  const ApprovalRequestCommand command{isMadeUp ? Uuid::random() : approval.id,
                                       random_.chance(0.05) ? "Erase every disk" : random_.one(labels)};
  const bool isKeyRight = isHealthy_ || !random_.chance(scenario_.keyIsWrong);
  const std::string decisionID = "d-" + std::to_string(++decisions_);
  const ApprovalRequestRelayMessage message{decisionID, sealed(command.json(), isKeyRight), world_.now()};
  checker_.tell(decisionID + " asks for " + command.buttonLabel + " of " + approval.windowTitle);
  const std::size_t pairing = pairings_.size();
  send(jsonText(message.json()), [=, this](std::size_t socket) {
    if (!isKeyRight || pairing != pairings_.size()) return;
    SimulatedRequest& request = checker_.request(decisionID);
    if (request.deliveries++ == 0) {
      request.command = command;
      if (!isMadeUp) request.approval = approval;
      request.firstDeliveredAt = world_.time.clock().continuous();
    }
    request.socket = socket;
  });
}

void Relay::suppressOrUnsuppress() {
  if (!isConnected() || pairings_.empty()) return;
  const bool isSuppress = suppressed_.empty() || random_.chance(0.4);
  if (isSuppress && shown_.empty()) return;
  const Uuid id = isSuppress ? random_.one(shown_).suppressionID : random_.one(suppressed_);
  if (isSuppress) {
    suppressed_.push_back(id);
  } else {
    std::erase(suppressed_, id);
  }
  const ApprovalSuppressionCommand command{isSuppress ? "suppress" : "unsuppress", std::nullopt, id};
  const std::string_view type = isSuppress ? relay_type::approvalSuppress : relay_type::approvalUnsuppress;
  const ApprovalSuppressionRelayMessage message{std::string(type), "suppression", sealed(command.json(), true),
                                                std::nullopt};
  send(jsonText(message.json()), [](std::size_t) {});
}

}  // namespace tallyfox::sim
