#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "relay/RelayMessages.hpp"
#include "sim/harness/Screen.hpp"

namespace tallyfox::sim {

/// What a phone asked for and what it was told.
struct SimulatedRequest {
  ApprovalRequestCommand command;
  std::optional<PendingApproval> approval;  ///< as the phone saw it; absent for an id that it made up
  std::size_t deliveries = 0;
  std::size_t answers = 0;
  Seconds firstDeliveredAt{};
  std::size_t socket = 0;  ///< of the last delivery
  bool isDead = false;     ///< what was delivered is certain not to be carried out any more
};

/// The agent's promises, held against every touch of the desktop and every frame on the wire. Broken ones are kept as
/// sentences.
class Checker {
 public:
  /// `isSocketOpen` tells whether a connection still lasts.
  Checker(Screen& screen, Clock& clock, std::function<bool(std::size_t socket)> isSocketOpen)
      : screen_(screen), clock_(clock), isSocketOpen_(std::move(isSocketOpen)) {}

  // What the world tells.
  SimulatedRequest& request(const std::string& decisionID) { return requests_[decisionID]; }
  /// Nothing that was delivered so far is carried out any more.
  void noteProcessEnded();
  void notePaused(bool isPaused);
  /// Whether alerts are paused can no longer be told from here.
  void notePauseUncertain() { isPauseCertain_ = false; }
  void noteTrust(bool isTrusted);
  void noteScansWaiting(int count);

  // What the agent did.
  void touch(const memory::Touch& touch);
  /// Anything that goes over the wire: an address, a body, a frame.
  void wire(const std::string& text, const std::vector<std::string>& secrets);
  /// A frame as it goes over the wire, whatever it says.
  void frame(const std::string& text, const std::vector<std::string>& secrets);
  void snapshot(const MacSnapshotRelayMessage& message, const std::vector<PendingApproval>& approvals);
  void result(const std::string& decisionID, const ApprovalResultCommand& command);

  // At rest.
  void everyRequestIsAnswered();
  void phoneAgreesWithScreen(const std::vector<PendingApproval>& shown, const std::set<DialogText>& muted);
  void fail(const std::string& sentence);
  /// Tells whoever listens what happens.
  void tell(const std::string& sentence) const;
  void listen(std::function<void(const std::string&)> listener) { listener_ = std::move(listener); }

  [[nodiscard]] bool isWaitingForAnswers() const;
  [[nodiscard]] const std::vector<std::string>& failures() const { return failures_; }
  [[nodiscard]] std::size_t touches() const { return touches_; }
  [[nodiscard]] std::size_t accepted() const { return accepted_; }
  [[nodiscard]] std::size_t answers() const { return answers_; }
  /// Drops what is long over.
  void forget();

 private:
  /// The connection on which it came still lasts, and so the answer is due.
  [[nodiscard]] bool isOwed(const SimulatedRequest& request) const;
  /// It arrived, names a dialog that the phone was shown, and is not answered yet.
  [[nodiscard]] static bool isUnderWay(const SimulatedRequest& request);
  [[nodiscard]] bool isApproved(const SimulatedRequest& request, const memory::Touch& touch) const;
  void checkAccepted(const SimulatedRequest& request, const std::string& decisionID);

  Screen& screen_;
  Clock& clock_;
  std::function<bool(std::size_t socket)> isSocketOpen_;
  std::map<std::string, SimulatedRequest> requests_;
  std::map<std::string, std::string> nonces_;  ///< each with the box that it sealed
  std::optional<Seconds> pausedSince_;
  bool isPauseCertain_ = true;
  std::optional<Seconds> untrustedSince_;
  std::function<void(const std::string&)> listener_;
  std::vector<std::string> failures_;
  std::size_t touches_ = 0;
  std::size_t accepted_ = 0;
  std::size_t answers_ = 0;
};

}  // namespace tallyfox::sim
