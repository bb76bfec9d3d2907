#include "relay/RelayClient.hpp"

#include <cstdint>
#include <map>
#include <utility>

#include "base/Limits.hpp"
#include "relay/RelayFrameDecoder.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox {
namespace {

/// A fixed wait: the relay is one machine's peer, and its owner waits for the phone to work again.
constexpr Seconds reconnectDelay{3};
constexpr Seconds connectTimeout{60};
constexpr std::uint16_t goingAway = 1001;

std::string signature(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted) {
  return (accessibilityTrusted ? "ax1:" : "ax0:") + RelayCrypto::snapshotID(approvals);
}

}  // namespace

/// Touched on the client's queue alone.
struct RelayClient::State {
  Dependencies dependencies;
  Configuration configuration;
  Callbacks callbacks;
  std::unique_ptr<WebSocketTask> task;
  std::uint64_t taskNumber = 0;  ///< events of an earlier task carry an earlier number and are ignored
  std::map<std::uint64_t, SendCompletion> unfinishedSends;  ///< of the current task, by their number
  std::uint64_t sendNumber = 0;
  ScheduledHandle reconnectTask;
  std::optional<MacSnapshotRelayMessage> latestSnapshot;
  std::optional<std::string> latestSnapshotSignature;
  std::optional<std::string> lastSentSnapshotSignature;
  std::optional<std::string> snapshotSendInFlightSignature;
  RelayConnectionStatus status;
  bool isSocketOpen = false;
  bool shouldReconnect = false;

  void forgetSentSnapshots() {
    lastSentSnapshotSignature.reset();
    snapshotSendInFlightSignature.reset();
  }
  /// The task will not tell what became of its sends once it is gone, so they fail here.
  void dropTask() {
    task.reset();
    ++taskNumber;
    isSocketOpen = false;
    forgetSentSnapshots();
    for (const auto& [number, completion] : std::exchange(unfinishedSends, {}))
      finishSend(completion, std::unexpected(TransportError{"The connection to the relay was lost."}));
  }
  void finishSend(const SendCompletion& completion, const std::expected<void, TransportError>& outcome) {
    if (!outcome) printLine("Unable to send relay message: ", outcome.error().description);
    if (completion) completion(*this, outcome);
  }
  void printLine(std::string_view what, std::string_view why) {
    dependencies.console.printLine(std::string(what).append(why));
  }
  void reportStatus(RelayConnectionStatus newStatus) {
    status = std::move(newStatus);
    callbacks.onStatusChange(status);
  }
  void reportRelayConnected() {
    auto connected = status;
    connected.relayConnected = true;
    reportStatus(std::move(connected));
  }
};

std::shared_ptr<RelayClient> RelayClient::make(Dependencies dependencies, Configuration configuration,
                                               Callbacks callbacks) {
  return std::shared_ptr<RelayClient>(
      new RelayClient(std::move(dependencies), std::move(configuration), std::move(callbacks)));
}

RelayClient::RelayClient(Dependencies dependencies, Configuration configuration, Callbacks callbacks)
    : queue_(dependencies.queue),
      state_(std::make_unique<State>(std::move(dependencies), std::move(configuration), std::move(callbacks))) {}

// Work that is still waiting on the queue finds the client gone, a disconnect() too: the relay hears of it all the
// same.
RelayClient::~RelayClient() {
  if (state_->task) state_->task->cancel(goingAway);
}

/// Posts work onto the client's queue without keeping the client alive; the client is only ever locked there.
class RelayClient::Poster {
 public:
  explicit Poster(RelayClient& client) : queue_(client.queue_), client_(client.weak_from_this()) {}

  template <typename Work>
  void operator()(Work work) const {
    queue_->post([client = client_, work = std::move(work)]() mutable {
      if (const auto self = client.lock()) work(*self, *self->state_);
    });
  }
  /// The work is dropped when the connection it belongs to is no longer the current one.
  template <typename Work>
  void forTask(std::uint64_t taskNumber, Work work) const {
    (*this)([taskNumber, work = std::move(work)](RelayClient& self, State& state) mutable {
      if (state.taskNumber == taskNumber) work(self, state);
    });
  }

 private:
  std::shared_ptr<SerialQueue> queue_;
  std::weak_ptr<RelayClient> client_;
};

void RelayClient::connect() {
  Poster (*this)([](RelayClient& self, State&) { self.startTask(); });
}

void RelayClient::startTask() {
  State& state = *state_;
  if (state.task) return;
  state.shouldReconnect = true;
  state.isSocketOpen = false;
  state.forgetSentSnapshots();
  const std::uint64_t number = ++state.taskNumber;
  const WebSocketRequest request{
      state.configuration.url, {{"authorization", "Bearer " + state.configuration.relaySecret}}, connectTimeout};
  WebSocketEvents events{
      [post = Poster(*this), number] { post.forTask(number, [](RelayClient& self, State&) { self.socketOpened(); }); },
      [post = Poster(*this), number] {
        post.forTask(number, [](RelayClient& self, State&) { self.connectionLost(); });
      }};
  state.task = state.dependencies.transport.start(request, std::move(events));
  receiveNext();
  state.dependencies.console.printLine("Tallyfox relay connected.");
}

void RelayClient::receiveNext() {
  State& state = *state_;
  if (!state.task) return;
  state.task->receive([post = Poster(*this), number = state.taskNumber](std::expected<Bytes, TransportError> frame) {
    post.forTask(number, [frame = std::move(frame)](RelayClient& self, State& current) {
      if (!frame) {
        current.printLine("Relay receive failed: ", frame.error().description);
        self.connectionLost();
        return;
      }
      self.dispatch(*frame);
      self.receiveNext();
    });
  });
}

void RelayClient::socketOpened() {
  State& state = *state_;
  state.isSocketOpen = true;
  state.forgetSentSnapshots();
  state.reportRelayConnected();
  sendLatestSnapshotIfNeeded();
}

void RelayClient::connectionLost() {
  State& state = *state_;
  state.dropTask();
  state.reportStatus({});
  if (!state.shouldReconnect || state.reconnectTask) return;
  state.reconnectTask = queue_->after(reconnectDelay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->state_->reconnectTask.reset();
    self->startTask();
  });
}

void RelayClient::disconnect() {
  Poster (*this)([](RelayClient&, State& state) {
    state.shouldReconnect = false;
    state.reconnectTask.reset();
    if (state.task) state.task->cancel(goingAway);
    state.dropTask();
    state.reportStatus({});
  });
}

void RelayClient::dispatch(const Bytes& frame) {
  State& state = *state_;
  const auto reportFailure = [&state](const DecodingError& error) {
    state.printLine("Unable to decode relay message: ", error.description);
  };
  auto message = decodedRelayFrame(frame);
  if (!message) {
    reportFailure(message.error());
  } else if (auto* request = std::get_if<ApprovalRequestRelayMessage>(&*message)) {
    state.reportRelayConnected();
    auto command = openedRequest(*request, state.configuration.cryptoSecret);
    if (!command) return reportFailure(command.error());
    state.callbacks.onApprovalRequest({std::move(request->decisionID), std::move(*command), request->issuedAt});
  } else if (const auto* suppression = std::get_if<ApprovalSuppressionRelayMessage>(&*message)) {
    state.reportRelayConnected();
    auto command = openedSuppression(*suppression, state.configuration.cryptoSecret);
    if (!command) return reportFailure(command.error());
    state.callbacks.onSuppressionCommand(std::move(*command));
  } else if (auto* phones = std::get_if<PhoneStatusRelayMessage>(&*message)) {
    state.reportStatus({true, phones->phoneConnected, phones->phoneCount,
                        std::move(phones->phones).value_or(std::vector<RelayPhoneStatus>())});
  }
}

void RelayClient::publishSnapshot(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted,
                                  bool force) {
  Poster (*this)([approvals, accessibilityTrusted, force, newSignature = signature(approvals, accessibilityTrusted)](
                     RelayClient& self, State& state) {
    if (state.latestSnapshotSignature == newSignature) {
      if (force) state.forgetSentSnapshots();
    } else {
      const auto sealed =
          RelayCrypto::seal(bytesOf(jsonText(approvalsJson(approvals))), state.configuration.cryptoSecret);
      if (!sealed) {
        state.printLine("Unable to encrypt relay snapshot: ", description(sealed.error()));
        return;
      }
      state.latestSnapshot = MacSnapshotRelayMessage{state.dependencies.clock.now(), accessibilityTrusted, *sealed,
                                                     static_cast<std::int64_t>(approvals.size()), newSignature};
      state.latestSnapshotSignature = newSignature;
    }
    self.sendLatestSnapshotIfNeeded();
  });
}

void RelayClient::sendLatestSnapshotIfNeeded() {
  State& state = *state_;
  if (!state.isSocketOpen || !state.latestSnapshot ||
      state.latestSnapshotSignature == state.lastSentSnapshotSignature ||
      state.latestSnapshotSignature == state.snapshotSendInFlightSignature)
    return;
  state.snapshotSendInFlightSignature = state.latestSnapshotSignature;
  // From here on the relay may have either list: a return to the earlier one must be sent as well.
  state.lastSentSnapshotSignature.reset();
  send(state.latestSnapshot->json(),
       [sent = *state.latestSnapshotSignature](State& current, const std::expected<void, TransportError>& outcome) {
         if (current.snapshotSendInFlightSignature == sent) current.snapshotSendInFlightSignature.reset();
         if (outcome && current.latestSnapshotSignature == sent) current.lastSentSnapshotSignature = sent;
       });
}

void RelayClient::publishResult(std::string decisionID, ApprovalResultCommand command) {
  Poster (*this)([decisionID = std::move(decisionID), command = std::move(command)](RelayClient& self, State& state) {
    const auto sealed = RelayCrypto::seal(bytesOf(jsonText(command.json())), state.configuration.cryptoSecret);
    if (!sealed) {
      state.printLine("Unable to encrypt relay result: ", description(sealed.error()));
      return;
    }
    self.send(ApprovalResultRelayMessage{decisionID, *sealed, state.dependencies.clock.now()}.json(), {});
  });
}

void RelayClient::unpairPhone(std::optional<std::string> deviceID,
                              std::function<void(std::expected<void, TransportError>)> completion) {
  Poster (*this)([deviceID = std::move(deviceID), completion = std::move(completion)](RelayClient& self, State& state) {
    self.send(UnpairPhoneRelayMessage{deviceID, state.dependencies.clock.now()}.json(),
              [completion](State&, const std::expected<void, TransportError>& outcome) { completion(outcome); });
  });
}

void RelayClient::send(const Json& message, SendCompletion completion) {
  State& state = *state_;
  std::string text = jsonText(message);
  if (text.size() > limits::frameBytes) {
    const TransportError tooLarge{"The message is too large."};
    state.printLine("Unable to encode relay message: ", tooLarge.description);
    if (completion) completion(state, std::unexpected(tooLarge));
    return;
  }
  if (!state.task) return state.finishSend(completion, std::unexpected(TransportError{"The relay is not connected."}));
  const std::uint64_t number = ++state.sendNumber;
  state.unfinishedSends.emplace(number, std::move(completion));
  state.task->send(std::move(text), [post = Poster(*this), number](std::expected<void, TransportError> outcome) {
    post([number, outcome = std::move(outcome)](RelayClient&, State& current) {
      const auto finished = current.unfinishedSends.extract(number);
      if (finished) current.finishSend(finished.mapped(), outcome);
    });
  });
}

}  // namespace tallyfox
