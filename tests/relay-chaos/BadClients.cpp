#include "BadClients.hpp"

#include <algorithm>
#include <utility>

namespace tallyfox::chaos {
namespace {

using load::LoadSocket;
using Kind = BadClients::Kind;

/// Below the number of strangers that the relay takes at once.
constexpr std::size_t atOnce = 100;
constexpr std::size_t phonesPerPairing = 16;
/// What a slow reader's connection holds on its way; more than that waits in the relay.
constexpr int slowReaderBuffer = 4096;
constexpr std::size_t slowFrame = 32 * 1024;

}  // namespace

std::size_t BadClients::pairingsFor(std::size_t halfOpen) {
  return 3 * halfOpen / phonesPerPairing + 2;
}

BadClients::BadClients(const World& world, std::size_t firstPairing, std::size_t halfOpen)
    : world_(world), firstPairing_(firstPairing) {
  const std::size_t some = halfOpen / 10 + 1;
  waiting_.assign(halfOpen, Kind::halfOpen);
  for (const Kind kind : {Kind::vanished, Kind::silent, Kind::begins, Kind::mute, Kind::dropped, Kind::returning})
    waiting_.insert(waiting_.end(), some, kind);
  waiting_.insert(waiting_.end(), std::min(some, phonesPerPairing - 2), Kind::slowReader);
  waiting_.insert(waiting_.end(), std::min<std::size_t>(some, 50), Kind::byteWriter);
  std::ranges::shuffle(waiting_, world_.random);
  talker_ = &world_.loop.add(agentAddress(world_.port, firstPairing_), {});
}

void BadClients::turn() {
  while (!waiting_.empty() && busy_ < atOnce) {
    const Kind kind = waiting_.back();
    waiting_.pop_back();
    begin(kind);
  }
  for (auto& [socket, rest] : writing_) {
    if (rest.empty()) continue;
    socket->sendRaw(rest.substr(0, 1));
    rest.erase(0, 1);
  }
  feedSlowReaders();
}

void BadClients::begin(Kind kind) {
  if (kind == Kind::silent || kind == Kind::begins || kind == Kind::mute) return beginStranger(kind);
  beginPhone(kind);
}

void BadClients::beginStranger(Kind kind) {
  load::Address address{.port = world_.port, .path = kind == Kind::mute ? "/phone" : ""};
  LoadSocket& socket = world_.loop.add(address, {});
  if (kind == Kind::begins) {
    const std::string whole = "PUT /api/pairings/P0/relay-token HTTP/1.1\r\nHost: relay\r\nContent-Length: 28\r\n\r\n{";
    socket.sendRaw(whole.substr(0, 1 + world_.anyOf(whole.size())));
  }
  staying_.push_back(&socket);
}

void BadClients::beginPhone(Kind kind) {
  ++busy_;
  const bool isSlow = kind == Kind::slowReader;
  const std::size_t number = isSlow ? ++slowReaders_ : ++phones_;
  const std::size_t pairing = isSlow ? firstPairing_ : firstPairing_ + 1 + number / phonesPerPairing;
  world_.loop.add({.port = world_.port, .path = "/phone", .receiveBuffer = isSlow ? slowReaderBuffer : 0},
                  {.opened = [pairing, device = number % phonesPerPairing](
                                 LoadSocket& self) { self.sendText(hello(pairing, device)); },
                   .message =
                       [this, kind](LoadSocket& self, std::string_view text) {
                         if (text.contains("relay.welcome")) return welcomed(self, kind);
                         if (kind != Kind::byteWriter || !text.contains("undeliverable")) return;
                         ++slowDecisions_;
                         writing_.erase(&self);
                         leave(self, false);
                       },
                   .ended =
                       [this, kind](LoadSocket& self, unsigned) {
                         // Among so many strangers it was turned away, and comes again.
                         --busy_;
                         writing_.erase(&self);
                         waiting_.insert(waiting_.begin(), kind);
                         world_.loop.remove(self);
                       }});
}

void BadClients::welcomed(LoadSocket& socket, Kind kind) {
  const std::string frame = load::frameBytes(0x1, request("unfinished"));
  switch (kind) {
    case Kind::vanished:
      if (!socket.vanish()) return stay(socket);
      ++vanished_;
      --busy_;
      return world_.loop.remove(socket);
    case Kind::byteWriter:
      ++byteWriters_;
      writing_[&socket] = frame;
      return;
    case Kind::dropped:
      socket.sendRaw(frame.substr(0, 1 + world_.anyOf(frame.size() - 1)));
      return leave(socket, world_.anyOf(2) == 0);
    case Kind::returning:
      if (world_.anyOf(3) != 0) waiting_.insert(waiting_.begin(), Kind::returning);
      return leave(socket, world_.anyOf(2) == 0);
    default:
      return stay(socket);
  }
}

void BadClients::stay(LoadSocket& socket) {
  --busy_;
  world_.loop.sleep(socket);
  staying_.push_back(&socket);
}

void BadClients::leave(LoadSocket& socket, bool reset) {
  --busy_;
  world_.loop.remove(socket, reset);
}

void BadClients::feedSlowReaders() {
  // Twice what a relay keeps for one of them, in frames.
  constexpr std::size_t enough = 600;
  if (!allDone() || fed_ >= enough || talker_->state() != LoadSocket::State::open) return;
  for (int index = 0; index < 10; ++index)
    talker_->sendText(result("R" + std::to_string(++fed_), slowFrame));
}

void BadClients::clear() {
  for (LoadSocket* const socket : std::exchange(staying_, {}))
    world_.loop.remove(*socket, true);
  if (talker_ != nullptr) world_.loop.remove(*std::exchange(talker_, nullptr));
}

}  // namespace tallyfox::chaos
