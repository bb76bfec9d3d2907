#pragma once

#include <optional>
#include <string>

#include "phone/PhoneCommand.hpp"

namespace tallyfox::phone {

/// How long a command waits for the network and the computer unless told otherwise.
inline constexpr Seconds defaultTimeout{30};
inline constexpr Seconds reconnectDelay{3};

/// Joins the pairing of a code; kept once the relay has accepted it.
class PairCommand : public PhoneCommand {
 public:
  PairCommand(PhoneContext context, Finish finish, std::string code, std::string name, Seconds timeout);
  void start() override;

 private:
  void welcomed(bool agentConnected) override;
  std::string code_;
  std::string name_;
  Seconds timeout_;
  std::optional<PhonePairing> pairing_;
};

/// Shows the computer's present list once.
class ListCommand : public PhoneCommand {
 public:
  ListCommand(PhoneContext context, Finish finish, Seconds timeout);
  void start() override;

 private:
  void welcomed(bool agentConnected) override;
  void snapshotArrived(const PhoneSnapshot& snapshot) override;
  Seconds timeout_;
};

/// Shows every change until stopped, over any number of connections.
class WatchCommand : public PhoneCommand {
 public:
  WatchCommand(PhoneContext context, Finish finish, std::optional<Seconds> timeout);
  void start() override;

 private:
  void reconnect();
  void welcomed(bool agentConnected) override;
  void snapshotArrived(const PhoneSnapshot& snapshot) override;
  void resultArrived(const PhoneResult& result) override;
  void agentStatusChanged(bool agentConnected) override;
  void timedOut() override { finish(exit_status::done); }
  void disconnected(const PhoneDisconnection& why) override;
  std::optional<Seconds> timeout_;
};

/// Finds one approval of the list by the beginning of its identifier.
class ApprovalCommand : public PhoneCommand {
 public:
  ApprovalCommand(PhoneContext context, Finish finish, std::string idPrefix, Seconds timeout);
  void start() override;

 protected:
  virtual void found(const PendingApproval& approval) = 0;
  void decisionUndeliverable(const std::string& decisionID) override;
  void disconnected(const PhoneDisconnection& why) override;
  /// Whether the decision has been sent: the list is then of no more interest, and a lost connection is made anew, as
  /// the result may still come.
  [[nodiscard]] bool isSent() const { return decisionID_.has_value(); }
  void setSent(std::string decisionID) { decisionID_ = std::move(decisionID); }
  [[nodiscard]] bool isOurs(const std::string& decisionID) const { return decisionID_ == decisionID; }

 private:
  void welcomed(bool agentConnected) override;
  void snapshotArrived(const PhoneSnapshot& snapshot) override;
  std::string idPrefix_;
  Seconds timeout_;
  std::optional<std::string> decisionID_;
};

/// Presses a button and waits for what came of it.
class AnswerCommand : public ApprovalCommand {
 public:
  AnswerCommand(PhoneContext context, Finish finish, std::string idPrefix, std::string button, Seconds timeout);

 private:
  void found(const PendingApproval& approval) override;
  void resultArrived(const PhoneResult& result) override;
  std::string button_;
};

/// Mutes a dialog.
class SuppressCommand : public ApprovalCommand {
 public:
  using ApprovalCommand::ApprovalCommand;

 private:
  void found(const PendingApproval& approval) override;
};

/// Unmutes a dialog.
class UnsuppressCommand : public PhoneCommand {
 public:
  UnsuppressCommand(PhoneContext context, Finish finish, std::string suppressionID, Seconds timeout);
  void start() override;

 private:
  void welcomed(bool agentConnected) override;
  void decisionUndeliverable(const std::string& decisionID) override;
  std::string suppressionID_;
  Seconds timeout_;
};

/// Leaves the pairing: at the relay where it can be reached, here in any case.
class UnpairCommand : public PhoneCommand {
 public:
  UnpairCommand(PhoneContext context, Finish finish, Seconds timeout);
  void start() override;

 private:
  void welcomed(bool agentConnected) override;
  void timedOut() override { forget("The relay did not answer: it may still list this phone."); }
  void disconnected(const PhoneDisconnection& why) override;
  void forget(const std::string& note);
  Seconds timeout_;
};

/// The button of an approval that an owner means: the exact label, else the only one that is the same but for case and
/// white space.
[[nodiscard]] std::optional<std::string> meantButton(const PendingApproval& approval, const std::string& text);
/// The approvals whose identifier begins so, in either case.
[[nodiscard]] std::vector<PendingApproval> approvalsWithPrefix(const std::vector<PendingApproval>& approvals,
                                                               const std::string& prefix);

}  // namespace tallyfox::phone
