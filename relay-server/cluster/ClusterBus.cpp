#include "ClusterBus.hpp"

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <vector>

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
using Kind = ClusterMessage::Kind;

/// How long a lost node is remembered, to be asked what it has when it comes back.
constexpr std::chrono::minutes lostMemory{60};

}  // namespace

ClusterBus::ClusterBus(ClusterTransport& transport, RelayLog& log, std::string node,
                       std::function<Clock::time_point()> now, ClusterTiming timing)
    : transport_(transport), log_(log), node_(std::move(node)), now_(std::move(now)), timing_(timing) {
  transport_.listen(*this);
}

void ClusterBus::beat() {
  if (stopped_) return;
  transport_.tellNodes(message(Kind::alive).encoded());
  const auto now = now_();
  std::vector<std::string> silent;
  for (const auto& [node, heardAt] : heardAt_)
    if (now - heardAt >= timing_.lostAfter) silent.push_back(node);
  for (const std::string& node : silent) {
    log_.write(log_event::nodeLost, {LogField::node(node)});
    lose(node);
  }
  std::erase_if(lostAt_, [&](const auto& lost) { return now - lost.second >= lostMemory; });
}

void ClusterBus::stop() {
  stopped_ = true;
  transport_.tellNodes(message(Kind::leaving).encoded());
}

asio::awaitable<bool> ClusterBus::enter(std::string pairingID) {
  if (roomOf(pairingID) != nullptr) co_return true;
  if (!co_await transport_.join(pairingID)) co_return false;
  announce(pairingID, rooms_[pairingID], true);
  const bool known = co_await askAround(pairingID);
  if (known) co_return true;
  rooms_.erase(pairingID);
  transport_.part(pairingID);
  co_return false;
}

asio::awaitable<bool> ClusterBus::askAround(std::string pairingID) {
  const auto claimed = co_await transport_.claimed(pairingID);
  if (!claimed) {
    storageFailed("find the agent", pairingID, claimed.error());
    co_return false;
  }
  if (*claimed && (*claimed)->node != node_) {
    // Only the last to claim the pairing can hold its agent, and it alone is waited for.
    const auto answer =
        co_await transport_.ask((*claimed)->node, message(Kind::who, pairingID).encoded(), timing_.whoPatience);
    if (answer.kind == ClusterTransport::Answer::Kind::text) heard(answer.text);
  }
  co_await fetchSnapshot(pairingID);
  co_return true;
}

asio::awaitable<void> ClusterBus::fetchSnapshot(std::string pairingID) {
  const auto kept = co_await transport_.snapshot(pairingID);
  if (!kept) {
    storageFailed("fetch the snapshot", pairingID, kept.error());
  } else if (*kept) {
    if (const auto snapshot = ClusterMessage::decoded(**kept)) hearSnapshot(*snapshot);
  }
}

void ClusterBus::leave(const std::string& pairingID) {
  const auto found = rooms_.find(pairingID);
  if (found == rooms_.end()) return;
  const Room nothing;
  announce(pairingID, nothing);
  rooms_.erase(found);
  transport_.part(pairingID);
}

asio::awaitable<std::optional<PairingBus::Claim>> ClusterBus::claimAgent(std::string pairingID) {
  const auto claim = co_await transport_.claim(pairingID, node_);
  if (claim) co_return *claim;
  storageFailed("claim the agent", pairingID, claim.error());
  co_return std::nullopt;
}

bool ClusterBus::agentJoined(const std::string& pairingID, Claim claim) {
  Room& room = rooms_[pairingID];
  const auto* const other = holder(room);
  if (other != nullptr && other->second.claim > claim) return false;
  room.claim = claim;
  room.snapshot.reset();
  announce(pairingID, room);
  return true;
}

void ClusterBus::agentLeft(const std::string& pairingID) {
  Room* const room = roomOf(pairingID);
  if (room == nullptr || room->claim == noClaim) return;
  room->claim = noClaim;
  room->snapshot.reset();
  announce(pairingID, *room);
}

void ClusterBus::setDevices(const std::string& pairingID, std::set<std::string, std::less<>> devices) {
  Room* const room = roomOf(pairingID);
  if (room == nullptr || room->devices == devices) return;
  room->devices = std::move(devices);
  announce(pairingID, *room);
}

void ClusterBus::publishFrame(const std::string& pairingID, const Frame& frame) {
  ClusterMessage told = message(Kind::frame, pairingID);
  told.frame = *frame;
  transport_.tellRoom(pairingID, told.encoded());
}

void ClusterBus::publishSnapshot(const std::string& pairingID, const Frame& snapshot) {
  Room* const room = roomOf(pairingID);
  if (room == nullptr || room->claim == noClaim) return;
  room->snapshot = snapshot;
  room->snapshotAge = {room->claim, ++snapshots_};
  keepSnapshot(pairingID, *room);
}

void ClusterBus::keepSnapshot(const std::string& pairingID, const Room& room) {
  if (!room.snapshot) return;
  ClusterMessage kept = message(Kind::snapshot, pairingID);
  kept.claim = room.snapshotAge.first;
  kept.number = room.snapshotAge.second;
  kept.frame = *room.snapshot;
  transport_.keepSnapshot(pairingID, kept.encoded());
}

void ClusterBus::publishRecordChanged(const std::string& pairingID) {
  transport_.tellRoom(pairingID, message(Kind::changed, pairingID).encoded());
}

asio::awaitable<PairingBus::Delivery> ClusterBus::deliver(std::string pairingID, Frame frame) {
  const Room* const room = roomOf(pairingID);
  const auto* const other = room == nullptr || room->claim != noClaim ? nullptr : holder(*room);
  if (other == nullptr) co_return Delivery::offline;
  const std::string node = other->first;
  ClusterMessage request = message(Kind::request, pairingID);
  request.claim = other->second.claim;
  request.frame = *frame;
  const auto answer = co_await transport_.ask(node, request.encoded(), timing_.requestPatience);
  switch (answer.kind) {
    case ClusterTransport::Answer::Kind::silence:
      co_return Delivery::uncertain;
    case ClusterTransport::Answer::Kind::nobody:
      // It is announced again by the node itself, should that live.
      if (transport_.connected()) lose(node);
      co_return Delivery::offline;
    case ClusterTransport::Answer::Kind::text:
      break;
  }
  const auto reply = ClusterMessage::decoded(answer.text);
  if (!reply) co_return Delivery::uncertain;
  co_return reply->kind == Kind::delivered ? Delivery::delivered : Delivery::offline;
}

bool ClusterBus::agentElsewhere(const std::string& pairingID) const {
  const Room* const room = roomOf(pairingID);
  return room != nullptr && holder(*room) != nullptr;
}

std::set<std::string, std::less<>> ClusterBus::devicesElsewhere(const std::string& pairingID) const {
  std::set<std::string, std::less<>> devices;
  if (const Room* const room = roomOf(pairingID))
    for (const auto& [node, presence] : room->others)
      devices.insert(presence.devices.begin(), presence.devices.end());
  return devices;
}

void ClusterBus::heard(const std::string& text) {
  const auto message = ClusterMessage::decoded(text);
  if (!message) {
    log_.write(log_event::nodeMalformed, {LogField::reason(message.error())});
  } else if (message->node != node_ && !stopped_) {
    hear(*message);
  }
}

void ClusterBus::hear(const ClusterMessage& message) {
  if (message.kind == Kind::leaving) return lose(message.node);
  hearFrom(message.node);
  if (message.kind == Kind::alive || roomOf(message.pairing) == nullptr) return;
  switch (message.kind) {
    case Kind::presence:
      return hearPresence(message);
    case Kind::changed:
      return lookAtRecord(message.pairing);
    case Kind::frame:
      return listener_->frameForPhones(message.pairing, std::make_shared<const std::string>(message.frame));
    case Kind::snapshot:
      return hearSnapshot(message);
    default:
      return;
  }
}

void ClusterBus::hearFrom(const std::string& node) {
  heardAt_[node] = now_();
  if (lostAt_.erase(node) == 0) return;
  log_.write(log_event::nodeBack, {LogField::node(node)});
  // It may not know that it was given up, so it has to be asked what it has.
  for (const auto& [pairingID, room] : rooms_)
    announce(pairingID, room, true);
}

void ClusterBus::hearPresence(const ClusterMessage& message) {
  Room& room = *roomOf(message.pairing);
  Presence& other = room.others[message.node];
  if (message.number <= other.number) return;
  other = {.number = message.number, .claim = message.claim, .devices = message.devices};
  const bool superseded = room.claim != noClaim && message.claim > room.claim;
  const bool isBehind = message.claim != noClaim && message.claim < room.claim;
  if (superseded) listener_->agentSuperseded(message.pairing);
  if (message.asks || isBehind) announce(message.pairing, room);
  listener_->presenceChanged(message.pairing);
}

void ClusterBus::hearSnapshot(const ClusterMessage& message) {
  Room* const room = roomOf(message.pairing);
  if (room == nullptr) return;
  const std::pair age(message.claim, message.number);
  if (age > room->snapshotAge) {
    room->snapshotAge = age;
    listener_->snapshotArrived(message.pairing, std::make_shared<const std::string>(message.frame));
  } else if (room->claim != noClaim && message.claim < room->claim) {
    // An agent that was replaced has put its snapshot in the place of a newer one.
    announce(message.pairing, *room);
    keepSnapshot(message.pairing, *room);
  }
}

std::string ClusterBus::asked(const std::string& text) {
  const auto question = ClusterMessage::decoded(text);
  if (!question || stopped_) return message(Kind::refused).encoded();
  hearFrom(question->node);
  Room* const room = roomOf(question->pairing);
  if (question->kind == Kind::who) {
    const Room nothing;
    return presence(question->pairing, room == nullptr ? nothing : *room).encoded();
  }
  const bool delivered =
      question->kind == Kind::request && room != nullptr && room->claim != noClaim &&
      listener_->deliverToAgent(question->pairing, std::make_shared<const std::string>(question->frame));
  return message(delivered ? Kind::delivered : Kind::refused, question->pairing).encoded();
}

void ClusterBus::lose(const std::string& node) {
  if (heardAt_.erase(node) != 0) lostAt_[node] = now_();
  std::vector<std::string> changed;
  for (auto& [pairingID, room] : rooms_)
    if (room.others.erase(node) != 0) changed.push_back(pairingID);
  for (const std::string& pairingID : changed)
    listener_->presenceChanged(pairingID);
}

void ClusterBus::connectionChanged(bool connected) {
  ++cuts_;
  if (stopped_) return;
  log_.write(connected ? log_event::clusterBack : log_event::clusterLost);
  if (connected) asio::co_spawn(transport_.executor(), catchUp(), asio::detached);
}

asio::awaitable<void> ClusterBus::catchUp() {
  const std::uint64_t cut = cuts_;
  std::vector<std::string> missed;
  for (const auto& [pairingID, room] : rooms_) {
    announce(pairingID, room, true);
    missed.push_back(pairingID);
  }
  for (const std::string& pairingID : missed) {
    if (cuts_ != cut || stopped_) co_return;
    co_await catchUp(pairingID);
  }
}

asio::awaitable<void> ClusterBus::catchUp(std::string pairingID) {
  const auto claimed = co_await transport_.claimed(pairingID);
  if (Room* const room = roomOf(pairingID); room != nullptr && room->claim != noClaim && claimed && *claimed) {
    if ((*claimed)->claim > room->claim && (*claimed)->node != node_) {
      listener_->agentSuperseded(pairingID);
    } else {
      keepSnapshot(pairingID, *room);
    }
  }
  co_await fetchSnapshot(pairingID);
  if (roomOf(pairingID) != nullptr) co_await listener_->recordChanged(pairingID);
}

void ClusterBus::lookAtRecord(const std::string& pairingID) {
  asio::co_spawn(transport_.executor(), listener_->recordChanged(pairingID), asio::detached);
}

void ClusterBus::storageFailed(LogText task, std::string_view pairingID, const StorageError& error) {
  log_.write(log_event::storageFailedFor,
             {LogField::task(task), LogField::pairing(pairingID), LogField::reason(error)});
}

ClusterBus::Room* ClusterBus::roomOf(std::string_view pairingID) {
  const auto found = rooms_.find(pairingID);
  return found == rooms_.end() ? nullptr : &found->second;
}

const ClusterBus::Room* ClusterBus::roomOf(std::string_view pairingID) const {
  const auto found = rooms_.find(pairingID);
  return found == rooms_.end() ? nullptr : &found->second;
}

const std::pair<const std::string, ClusterBus::Presence>* ClusterBus::holder(const Room& room) {
  const auto newest = std::ranges::max_element(room.others, {}, [](const auto& other) { return other.second.claim; });
  return newest == room.others.end() || newest->second.claim == noClaim ? nullptr : &*newest;
}

ClusterMessage ClusterBus::message(Kind kind, const std::string& pairingID) const {
  ClusterMessage made;
  made.kind = kind;
  made.node = node_;
  made.pairing = pairingID;
  return made;
}

ClusterMessage ClusterBus::presence(const std::string& pairingID, const Room& room, bool asks) {
  ClusterMessage told = message(Kind::presence, pairingID);
  told.number = ++presences_;
  told.claim = room.claim;
  told.devices = room.devices;
  told.asks = asks;
  return told;
}

void ClusterBus::announce(const std::string& pairingID, const Room& room, bool asks) {
  // Whatever was here is gone for the others since the goodbye.
  if (stopped_) return;
  transport_.tellRoom(pairingID, presence(pairingID, room, asks).encoded());
}

}  // namespace tallyfox::server
