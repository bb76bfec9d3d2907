// Any frames of an agent, of two phones and of strangers, in any order, at a whole relay: phones get word for word what
// their agent sent and what the relay itself says, the agent gets what its phones sent, and everyone gets an end.
// Each line of the input is a frame; its first character says whose, and @P stands for the pairing.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzedRelay.hpp"
#include "RawClient.hpp"
#include "RawFrame.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

using conformance::RawClient;
using conformance::RawFrame;

constexpr std::array<std::string_view, 5> relaysOwn{"relay.welcome", "agent.status", "decision.undeliverable",
                                                    "phone.unpaired", "phone.status"};
constexpr std::array<std::string_view, 8> closings{"close 1000", "close 1007", "close 4000", "close 4400",
                                                   "close 4401", "close 4410", "close 4429", "close 1009"};
/// More connections at once than a pairing allows are of no use.
constexpr std::size_t greatestStrangers = 20;

std::string upgrade(std::string_view path) {
  return "GET " + std::string(path) + " HTTP/1.1\r\nHost: relay\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n" +
         "Authorization: Bearer " + std::string(fuzzedToken) +
         "\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";
}

/// One end of the pairing under test.
struct Peer {
  Peer(std::string_view path, const std::string& first) : socket(fuzzedRelay().port(), fuzzedRelay().nextSource()) {
    socket.send(upgrade(path));
    require(socket.httpAnswer().starts_with("HTTP/1.1 101 "), "an upgrade in order");
    if (!first.empty()) socket.send(conformance::textFrame(first));
  }
  void send(std::string_view text, bool binary) {
    sent.emplace(text);
    socket.send(RawFrame{.opcode = binary ? conformance::opcode::binary : conformance::opcode::text,
                         .payload = std::string(text)}
                    .bytes());
  }

  RawClient socket;
  std::set<std::string, std::less<>> sent;
};

std::string hello(const std::string& pairingID, const std::string& deviceID) {
  return R"({"type":"phone.hello","version":1,"pairingID":")" + pairingID + R"(","relaySecret":")" +
         std::string(fuzzedToken) + R"(","deviceID":")" + deviceID + R"(","deviceName":"Phone"})";
}

std::string registeredPairing() {
  static unsigned count = 0;
  const std::string id = "P" + std::to_string(++count);
  RawClient client(fuzzedRelay().port(), fuzzedRelay().nextSource());
  client.send("PUT /api/pairings/" + id + "/relay-token HTTP/1.1\r\nHost: relay\r\nAuthorization: Bearer " +
              std::string(fuzzedToken) + "\r\nContent-Length: 28\r\n\r\n{\"client\":\"mac\",\"version\":1}");
  require(client.httpAnswer().starts_with("HTTP/1.1 204 "), "a registration in order");
  client.reset();
  return id;
}

std::vector<std::string> lines(std::string_view text) {
  std::vector<std::string> result;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    result.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result;
}

/// Every event until the end is a frame of `others`, one that the relay says itself, a ping, or a close.
void checkEvents(RawClient& socket, const std::vector<const Peer*>& others) {
  socket.send(conformance::controlFrame(conformance::opcode::close));
  socket.finishSending();
  for (const std::string& event : lines(socket.rest())) {
    if (event == "end" || event == "reset" || event.starts_with("ping")) continue;
    if (event.starts_with("close")) {
      require(std::ranges::find(closings, event) != closings.end(), "a code that the relay has");
      continue;
    }
    if (std::ranges::any_of(others, [&](const Peer* peer) { return peer->sent.contains(event); })) continue;
    const auto message = parsedJson(event);
    require(message.has_value() && message->is_object(), "a frame is a JSON object, or what somebody sent");
    require(std::ranges::find(relaysOwn, message->value("type", "")) != relaysOwn.end(), "the relay's own message");
  }
  socket.reset();
}

std::string withPairing(std::string text, const std::string& pairingID) {
  for (std::size_t at = 0; (at = text.find("@P", at)) != std::string::npos; at += pairingID.size())
    text.replace(at, 2, pairingID);
  return text;
}

void checkStranger(const std::string& text) {
  Peer stranger("/phone", "");
  stranger.send(text, false);
  stranger.socket.send(conformance::controlFrame(conformance::opcode::close));
  const std::string events = stranger.socket.rest();
  // JSON may write its letters as escapes.
  const bool knowsToken = text.contains(fuzzedToken) || text.contains("\\u");
  require(knowsToken || !events.contains("relay.welcome"), "nobody is let in without the token");
  stranger.socket.reset();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string pairingID = registeredPairing();
  Peer agent("/", "");
  Peer first("/phone", hello(pairingID, "D1"));
  Peer second("/phone", hello(pairingID, "D2"));
  std::size_t strangers = 0;
  for (const std::string& line : lines({reinterpret_cast<const char*>(data), size})) {
    if (line.empty()) continue;
    const std::string text = withPairing(line.substr(1), pairingID);
    switch (line.front()) {
      case '1':
      case 'x':
        first.send(text, line.front() == 'x');
        break;
      case '2':
        second.send(text, false);
        break;
      case 'h':
        if (++strangers <= greatestStrangers) checkStranger(text);
        break;
      default:
        agent.send(text, line.front() == 'y');
    }
  }
  checkEvents(agent.socket, {&first, &second});
  checkEvents(first.socket, {&agent});
  checkEvents(second.socket, {&agent});
  return 0;
}

}  // namespace tallyfox::server
