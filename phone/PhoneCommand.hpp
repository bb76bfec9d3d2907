#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "phone/PhoneConnection.hpp"
#include "phone/PhoneOptions.hpp"
#include "phone/PhoneOutput.hpp"
#include "phone/PhoneStore.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox::phone {

/// Exit statuses of the program.
namespace exit_status {
inline constexpr int done = 0;
inline constexpr int error = 1;
inline constexpr int usage = 2;
inline constexpr int failed = 3;
inline constexpr int notFound = 4;
inline constexpr int directAccess = 5;
inline constexpr int offline = 6;
}  // namespace exit_status

/// What commands work with; everything outlives them.
struct PhoneContext {
  WebSocketTransport& transport;
  SerialQueue& queue;
  Clock& clock;
  PhoneStore& store;
  PhoneOutput& output;
};

/// One command from start to its exit status, which it tells once, as a task of the queue. Lives on the queue.
class PhoneCommand {
 public:
  using Finish = std::function<void(int)>;

  PhoneCommand(PhoneContext context, Finish finish) : context_(context), finish_(std::move(finish)) {}
  virtual ~PhoneCommand() = default;
  PhoneCommand(const PhoneCommand&) = delete;
  PhoneCommand& operator=(const PhoneCommand&) = delete;

  virtual void start() = 0;

 protected:
  /// Connects (anew); an earlier connection is dropped.
  void connect(const PhonePairing& pairing);
  /// Connects with the stored pairing; without one the command ends. False then.
  bool connectPaired();
  void finish(int status);
  void fail(int status, const std::string& text);
  /// Ends the command with an error when `limit` has passed.
  void limitTime(Seconds limit);
  void later(Seconds delay, std::function<void()> work);

  virtual void welcomed(bool /*agentConnected*/) {}
  virtual void snapshotArrived(const PhoneSnapshot& /*snapshot*/) {}
  virtual void resultArrived(const PhoneResult& /*result*/) {}
  virtual void agentStatusChanged(bool /*agentConnected*/) {}
  virtual void decisionUndeliverable(const std::string& /*decisionID*/) {}
  virtual void timedOut() { fail(exit_status::error, "No answer came in time."); }
  /// The connection has ended and was dropped.
  virtual void disconnected(const PhoneDisconnection& why) { fail(exit_status::error, why.reason); }

  [[nodiscard]] PhoneContext& context() { return context_; }
  [[nodiscard]] PhoneOutput& output() { return context_.output; }
  [[nodiscard]] PhoneConnection& connection() { return *connection_; }

 private:
  PhoneContext context_;
  Finish finish_;
  std::unique_ptr<PhoneConnection> connection_;
  ScheduledHandle timeLimit_;
  ScheduledHandle later_;
  Lifetime lifetime_;
};

/// The command that the options name. `pairingCode` is what pair reads.
[[nodiscard]] std::unique_ptr<PhoneCommand> makePhoneCommand(const PhoneOptions& options, std::string pairingCode,
                                                             std::string defaultName, PhoneContext context,
                                                             PhoneCommand::Finish finish);

}  // namespace tallyfox::phone
