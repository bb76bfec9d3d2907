#include "platform/linux/AtspiBus.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <string_view>

namespace tallyfox::linux_os {
namespace {

/// The messaging time-out with which every application starts.
constexpr std::chrono::milliseconds initialTimeout{200};
/// Greeting of the bus itself, which may just be starting.
constexpr std::chrono::milliseconds connectTimeout{1000};
/// Calls sent ahead of one peer's answers. The dearest takes about 0.3 ms there, so the last of them still has nine
/// tenths of its time-out left when its turn comes; more would not be faster, since the peer's own work is the limit.
constexpr std::size_t callsInFlight = 64;
/// Peers of whom something is remembered; beyond, those that are well are forgotten. A desktop runs some dozens.
constexpr std::size_t rememberedPeers = 512;
/// So many of its time-outs a call may take while the peer answers others: in-flight calls are worked off in turn.
constexpr int patience = 10;
/// Time-outs in a row after which answered probes alone win no further chance.
constexpr int fewTimeouts = 3;
/// How long a hung peer is left alone after its first time-out; twice as long after each further one in a row.
constexpr std::chrono::seconds firstRetry{2};
/// So long at most: a peer whose events and probes we miss is still seen again within a minute.
constexpr std::chrono::seconds longestRetry{60};

int appendNumbers(sd_bus_message* message, std::span<const std::uint32_t> words) {
  int result = sd_bus_message_open_container(message, 'a', "i");
  for (const std::uint32_t word : words) {
    if (result >= 0) result = sd_bus_message_append(message, "i", static_cast<std::int32_t>(word));
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

/// The rule: states, attributes, roles and interfaces, each with how they are to match.
int append(sd_bus_message* message, const AtspiSearch& search) {
  constexpr std::int32_t all = 1;
  constexpr std::int32_t any = 2;
  constexpr std::uint32_t inTreeOrder = 1;
  const std::array<std::uint32_t, 2> states = {static_cast<std::uint32_t>(search.states),
                                               static_cast<std::uint32_t>(search.states >> 32)};
  std::array<std::uint32_t, 5> roles = {};
  for (const std::uint32_t role : search.roles)
    if (role / 32 < roles.size()) roles[role / 32] |= 1U << (role % 32);
  int result = sd_bus_message_open_container(message, 'r', "aiia{ss}iaiiasib");
  if (result >= 0) result = appendNumbers(message, states);
  if (result >= 0) result = sd_bus_message_append(message, "ia{ss}i", all, 0, all);
  if (result >= 0) result = appendNumbers(message, roles);
  if (result >= 0) result = sd_bus_message_append(message, "iasib", search.roles.empty() ? all : any, 0, all, 0);
  if (result >= 0) result = sd_bus_message_close_container(message);
  return result < 0 ? result : sd_bus_message_append(message, "uib", inTreeOrder, search.count, 1);
}

int append(sd_bus_message* message, const AtspiArgument& argument) {
  if (const auto* search = std::get_if<AtspiSearch>(&argument)) return append(message, *search);
  if (const auto* text = std::get_if<std::string>(&argument))
    return sd_bus_message_append_basic(message, 's', text->c_str());
  if (const auto* number = std::get_if<std::int32_t>(&argument))
    return sd_bus_message_append_basic(message, 'i', number);
  return sd_bus_message_append_basic(message, 'u', std::get_if<std::uint32_t>(&argument));
}

AXError errorNamed(std::string_view name) {
  constexpr auto goneNames =
      std::to_array<std::string_view>({SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                                       SD_BUS_ERROR_UNKNOWN_OBJECT, SD_BUS_ERROR_DISCONNECTED, SD_BUS_ERROR_NO_REPLY});
  constexpr auto slowNames =
      std::to_array<std::string_view>({SD_BUS_ERROR_TIMEOUT, "org.freedesktop.DBus.Error.TimedOut"});
  if (std::ranges::find(goneNames, name) != goneNames.end()) return AXError::invalidElement;
  if (std::ranges::find(slowNames, name) != slowNames.end()) return AXError::cannotComplete;
  return AXError::unsupported;
}

}  // namespace

std::chrono::seconds pauseAfterTimeouts(int timeoutsInARow) {
  auto pause = firstRetry;
  for (int timeouts = 1; timeouts < timeoutsInARow && pause < longestRetry; ++timeouts)
    pause *= 2;
  return std::min(pause, longestRetry);
}

/// A call that was sent and not yet answered.
struct AtspiBus::Flight {
  AtspiBus& bus;
  std::string busName;
  Peer& peer;
  Handler handler;
  Clock::time_point sentAt;
  std::chrono::microseconds timeout;
  SdBusSlotHandle slot;

  /// A peer that answers one call after the other is not hung, up to a point.
  [[nodiscard]] Clock::time_point deadline() const {
    return std::min(std::max(sentAt, peer.answeredAt) + timeout, sentAt + patience * timeout);
  }
};

std::expected<std::unique_ptr<AtspiBus>, std::string> AtspiBus::connect(const std::string& address) {
  auto bus = connectedBus(address, connectTimeout);
  if (!bus) return std::unexpected(bus.error());
  return std::unique_ptr<AtspiBus>(new AtspiBus(std::move(*bus)));
}

AtspiBus::AtspiBus(SdBusHandle bus) : bus_(std::move(bus)) {}

AtspiBus::~AtspiBus() {
  for (auto& [name, peer] : peers_) {
    for (Flight* flight : peer.inFlight)
      delete flight;
  }
}

bool AtspiBus::isOpen() const {
  return sd_bus_is_open(bus_.get()) > 0;
}

AtspiBus::Peer& AtspiBus::peer(const std::string& busName) {
  const auto [place, isNew] = peers_.try_emplace(busName);
  if (isNew) {
    const auto known = timeouts_.find(busName);
    place->second.timeout = known == timeouts_.end() ? initialTimeout : known->second;
  }
  return place->second;
}

void AtspiBus::setTimeout(const std::string& busName, std::chrono::microseconds timeout) {
  if (timeout == initialTimeout) {
    timeouts_.erase(busName);
  } else {
    timeouts_[busName] = timeout;
  }
  if (const auto known = peers_.find(busName); known != peers_.end()) known->second.timeout = timeout;
}

void AtspiBus::send(AtspiCall call, Handler handler) {
  ++unanswered_;
  Peer& target = peer(call.target.busName);
  if (isHung(target)) {
    refused_.emplace_back(std::move(handler), AXError::cannotComplete);
    return;
  }
  target.waiting.emplace_back(std::move(call), std::move(handler));
  sendWaiting(target);
}

void AtspiBus::sendWaiting(Peer& peer) {
  while (!peer.waiting.empty() && peer.inFlight.size() < callsInFlight) {
    auto [call, handler] = std::move(peer.waiting.front());
    peer.waiting.pop_front();
    if (!sendNow(peer, std::move(call), handler)) refused_.emplace_back(std::move(handler), AXError::cannotComplete);
  }
}

bool AtspiBus::sendNow(Peer& peer, AtspiCall call, Handler& handler) {
  sd_bus_message* made = nullptr;
  int result = sd_bus_message_new_method_call(bus_.get(), &made, call.target.busName.c_str(), call.target.path.c_str(),
                                              call.interface, call.member);
  const SdBusMessageHandle message(made);
  for (std::size_t index = 0; result >= 0 && index < call.arguments.size(); ++index)
    result = append(message.get(), call.arguments[index]);
  if (result < 0) return false;

  // The connection holds the flight until it lands; ~AtspiBus frees what never does.
  const auto timeout = std::max(timeoutOfAll_.value_or(peer.timeout), std::chrono::microseconds(1));
  auto flight = std::make_unique<Flight>(Flight{*this, call.target.busName, peer, {}, Clock::now(), timeout, nullptr});
  sd_bus_slot* slot = nullptr;
  // Its time-out is ours to watch: the library would let it pass before it looks at what has long come in.
  result = sd_bus_call_async(bus_.get(), &slot, message.get(), onReply, flight.get(), UINT64_MAX);
  if (result < 0) return false;
  flight->slot.reset(slot);
  flight->handler = std::move(handler);
  peer.inFlight.insert(flight.release());
  return true;
}

int AtspiBus::onReply(sd_bus_message* message, void* flight, sd_bus_error* /*error*/) {
  auto* landing = static_cast<Flight*>(flight);
  landing->bus.land(landing, message);
  return 1;
}

void AtspiBus::land(Flight* flight, sd_bus_message* message) {
  const std::unique_ptr<Flight> landing(flight);
  Peer& target = flight->peer;
  target.inFlight.erase(flight);
  --unanswered_;
  target.answeredAt = Clock::now();
  target.timeoutsInARow = 0;
  Answer answer = message;
  // What a lost bus leaves unanswered says nothing of the program.
  if (const sd_bus_error* error = sd_bus_message_get_error(message))
    answer = std::unexpected(isOpen() ? errorNamed(error->name) : AXError::cannotComplete);
  sendWaiting(target);
  flight->handler(answer);
}

bool AtspiBus::isHung(Peer& peer) {
  if (!peer.probe && peer.timeoutsInARow < fewTimeouts) return false;
  if (Clock::now() < peer.retryAt) return true;
  peer.probe.reset();
  return false;
}

/// Gives up on the peers whose time is over. How long the others have.
std::chrono::microseconds AtspiBus::refuseHung() {
  const auto now = Clock::now();
  auto earliest = now + longestRetry;
  for (auto& [name, peer] : peers_) {
    auto deadline = Clock::time_point::max();
    for (const Flight* flight : peer.inFlight)
      deadline = std::min(deadline, flight->deadline());
    if (deadline <= now) {
      noteTimeout(name, peer);
      refuseAll(peer, AXError::cannotComplete);
    } else {
      earliest = std::min(earliest, deadline);
    }
  }
  return std::chrono::ceil<std::chrono::microseconds>(earliest - now);
}

void AtspiBus::noteTimeout(const std::string& busName, Peer& peer) {
  peer.retryAt = Clock::now() + pauseAfterTimeouts(++peer.timeoutsInARow);
  probe(busName, peer);
  if (onSilence_) onSilence_(busName);
}

void AtspiBus::retry(const std::string& busName) {
  const auto known = peers_.find(busName);
  if (known == peers_.end()) return;
  known->second.probe.reset();
  known->second.retryAt = {};
}

/// Every D-Bus library answers a ping from the program's own loop: the first sign of life.
void AtspiBus::probe(const std::string& busName, Peer& peer) {
  sd_bus_message* made = nullptr;
  int result =
      sd_bus_message_new_method_call(bus_.get(), &made, busName.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping");
  const SdBusMessageHandle message(made);
  sd_bus_slot* slot = nullptr;
  if (result >= 0) result = sd_bus_call_async(bus_.get(), &slot, message.get(), onProbeAnswer, &peer, UINT64_MAX);
  if (result >= 0) peer.probe.reset(slot);
}

int AtspiBus::onProbeAnswer(sd_bus_message* /*message*/, void* peer, sd_bus_error* /*error*/) {
  static_cast<Peer*>(peer)->probe.reset();
  return 1;
}

void AtspiBus::catchUp() {
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (peers_.size() < rememberedPeers) return;
  std::erase_if(peers_, [](const auto& entry) { return !entry.second.probe && entry.second.timeoutsInARow == 0; });
}

void AtspiBus::refuseAll(Peer& peer, AXError error) {
  for (Flight* flight : peer.inFlight) {
    refused_.emplace_back(std::move(flight->handler), error);
    delete flight;
  }
  peer.inFlight.clear();
  for (auto& [call, handler] : peer.waiting)
    refused_.emplace_back(std::move(handler), error);
  peer.waiting.clear();
}

void AtspiBus::refuseAll(AXError error) {
  for (auto& [name, peer] : peers_)
    refuseAll(peer, error);
}

void AtspiBus::run() {
  while (unanswered_ > 0) {
    if (!refused_.empty()) {
      auto [handler, error] = std::move(refused_.front());
      refused_.pop_front();
      --unanswered_;
      handler(std::unexpected(error));
      continue;
    }
    int result = sd_bus_process(bus_.get(), nullptr);
    if (result > 0) continue;
    // All that came in was looked at; only now it can be said who did not answer.
    const auto left = refuseHung();
    if (result == 0 && refused_.empty()) result = sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left.count()));
    if (result < 0 && result != -EINTR) refuseAll(AXError::cannotComplete);
  }
}

}  // namespace tallyfox::linux_os
