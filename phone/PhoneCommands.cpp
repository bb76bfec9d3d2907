#include "phone/PhoneCommands.hpp"

#include <utility>

#include "base/Text.hpp"
#include "base/Url.hpp"

namespace tallyfox::phone {
namespace {

/// The last list follows the welcome at once; this is for its way.
constexpr Seconds listGrace{2};

Json agentDetails(bool agentConnected) {
  return Json{{"agentConnected", agentConnected}};
}

std::string relayHost(const PhonePairing& pairing) {
  const auto url = Url::parsed(pairing.backendURL);
  return url && url->host ? *url->host : "the relay";
}

}  // namespace

PairCommand::PairCommand(PhoneContext context, Finish finish, std::string code, std::string name, Seconds timeout)
    : PhoneCommand(context, std::move(finish)), code_(std::move(code)), name_(std::move(name)), timeout_(timeout) {}

void PairCommand::start() {
  const auto present = context().store.load();
  if (!present) return fail(exit_status::error, present.error());
  if (*present) return fail(exit_status::error, "This phone is paired already. End that with: tallyfox-phone unpair");
  const auto pairing = pairingFromCode(code_, name_);
  if (!pairing) return fail(exit_status::error, pairing.error());
  pairing_ = *pairing;
  limitTime(timeout_);
  connect(*pairing_);
}

void PairCommand::welcomed(bool agentConnected) {
  const auto saved = context().store.save(*pairing_);
  if (!saved) return fail(exit_status::error, saved.error());
  Json details = agentDetails(agentConnected);
  details["deviceID"] = pairing_->deviceID;
  details["deviceName"] = pairing_->deviceName;
  output().state("paired", "Paired as \"" + pairing_->deviceName + "\" through " + relayHost(*pairing_) + ".", details);
  finish(exit_status::done);
}

ListCommand::ListCommand(PhoneContext context, Finish finish, Seconds timeout)
    : PhoneCommand(context, std::move(finish)), timeout_(timeout) {}

void ListCommand::start() {
  limitTime(timeout_);
  connectPaired();
}

void ListCommand::welcomed(bool agentConnected) {
  if (!agentConnected)
    output().state("agent-offline", "The computer is offline; this is its last list.", agentDetails(false));
  later(listGrace, [this] {
    output().state("no-list", "The computer has not sent a list yet.");
    finish(exit_status::done);
  });
}

void ListCommand::snapshotArrived(const PhoneSnapshot& snapshot) {
  output().approvals(snapshot);
  finish(exit_status::done);
}

WatchCommand::WatchCommand(PhoneContext context, Finish finish, std::optional<Seconds> timeout)
    : PhoneCommand(context, std::move(finish)), timeout_(timeout) {}

void WatchCommand::start() {
  if (timeout_) limitTime(*timeout_);
  reconnect();
}

void WatchCommand::reconnect() {
  output().state("connecting", "Connecting...");
  connectPaired();
}

void WatchCommand::welcomed(bool agentConnected) {
  output().state("connected", agentConnected ? "Connected." : "Connected; the computer is offline.",
                 agentDetails(agentConnected));
}

void WatchCommand::snapshotArrived(const PhoneSnapshot& snapshot) {
  output().approvals(snapshot);
}

void WatchCommand::resultArrived(const PhoneResult& result) {
  output().result(result);
}

void WatchCommand::agentStatusChanged(bool agentConnected) {
  output().state(agentConnected ? "agent-online" : "agent-offline",
                 agentConnected ? "The computer is online." : "The computer is offline.", agentDetails(agentConnected));
}

void WatchCommand::disconnected(const PhoneDisconnection& why) {
  if (why.isFinal) return fail(exit_status::error, why.reason);
  output().state("disconnected", why.reason + " Trying again in 3 seconds.", Json{{"reason", why.reason}});
  later(reconnectDelay, [this] { reconnect(); });
}

UnpairCommand::UnpairCommand(PhoneContext context, Finish finish, Seconds timeout)
    : PhoneCommand(context, std::move(finish)), timeout_(timeout) {}

void UnpairCommand::start() {
  limitTime(timeout_);
  const auto pairing = context().store.load();
  // What cannot be read cannot be used to leave either; forgetting it lets the owner pair again.
  if (!pairing) return forget(pairing.error());
  connectPaired();
}

void UnpairCommand::welcomed(bool /*agentConnected*/) {
  connection().leave(
      [this](bool sent) { forget(sent ? "" : "The relay could not be told: it may still list this phone."); });
}

void UnpairCommand::disconnected(const PhoneDisconnection& why) {
  forget(why.isFinal ? "" : why.reason + " The relay may still list this phone.");
}

void UnpairCommand::forget(const std::string& note) {
  const auto forgotten = context().store.forget();
  if (!forgotten) return fail(exit_status::error, forgotten.error());
  output().state("unpaired", note.empty() ? "Unpaired." : "Unpaired here. " + note,
                 note.empty() ? Json::object() : Json{{"note", note}});
  finish(exit_status::done);
}

std::unique_ptr<PhoneCommand> makePhoneCommand(const PhoneOptions& options, std::string pairingCode,
                                               std::string defaultName, PhoneContext context,
                                               PhoneCommand::Finish finish) {
  const Seconds timeout = options.timeout.value_or(defaultTimeout);
  const auto operand = [&](std::size_t index) { return options.operands.at(index); };
  switch (options.verb) {
    case PhoneVerb::help:
    case PhoneVerb::version:
      break;
    case PhoneVerb::pair:
      return std::make_unique<PairCommand>(context, std::move(finish), std::move(pairingCode),
                                           options.name.value_or(std::move(defaultName)), timeout);
    case PhoneVerb::list:
      return std::make_unique<ListCommand>(context, std::move(finish), timeout);
    case PhoneVerb::watch:
      return std::make_unique<WatchCommand>(context, std::move(finish), options.timeout);
    case PhoneVerb::answer:
      return std::make_unique<AnswerCommand>(context, std::move(finish), operand(0), operand(1), timeout);
    case PhoneVerb::suppress:
      return std::make_unique<SuppressCommand>(context, std::move(finish), operand(0), timeout);
    case PhoneVerb::unsuppress:
      return std::make_unique<UnsuppressCommand>(context, std::move(finish), operand(0), timeout);
    case PhoneVerb::unpair:
      return std::make_unique<UnpairCommand>(context, std::move(finish), timeout);
  }
  return nullptr;
}

}  // namespace tallyfox::phone
