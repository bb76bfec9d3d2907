#include "Pairings.hpp"

#include <algorithm>
#include <stdexcept>

namespace tallyfox::bench {
namespace {

/// One after another they would take long, all at once they would be turned away as strangers.
constexpr std::size_t atOnce = 200;
/// An address of the loopback has ports for 28,000 connections, some of which are still being forgotten.
constexpr std::size_t clientsPerSource = 4'000;

std::string token(std::size_t pairing) {
  return "token-" + std::to_string(pairing) + "-of-a-usual-length-0123456789";
}

std::string forwardedFor(std::size_t index) {
  return "X-Forwarded-For: 10." + std::to_string(index >> 16 & 0xFF) + "." + std::to_string(index >> 8 & 0xFF) + "." +
         std::to_string(index & 0xFF) + "\r\n";
}

std::uint32_t sourceOf(std::size_t index) {
  return 0x7F000002 + static_cast<std::uint32_t>(index / clientsPerSource);
}

}  // namespace

load::Address phoneAddress(std::uint16_t port, std::size_t index) {
  return {.port = port, .path = "/phone", .headers = forwardedFor(index), .source = sourceOf(index)};
}

load::Address agentAddress(std::uint16_t port, std::size_t index) {
  return {.port = port,
          .path = "/",
          .headers = forwardedFor(index) + "Authorization: Bearer " + token(index) + "\r\n",
          .source = sourceOf(index)};
}

std::string phoneHello(std::size_t pairing, std::size_t device) {
  return R"({"type":"phone.hello","version":1,"pairingID":"P)" + std::to_string(pairing) + R"(","relaySecret":")" +
         token(pairing) + R"(","deviceID":"D)" + std::to_string(device) +
         R"(","deviceName":"Somebody's phone","platform":"ios"})";
}

std::string resultOf(std::size_t bytes) {
  const std::string head =
      R"({"type":"approval.result","decisionID":"3F2504E0-4F89-11D3-9A0C-0305E82C3301","encryptedResult":{"version":1,)"
      R"("nonce":"AAAAAAAAAAAAAAAA","ciphertext":")";
  const std::string tail = R"("},"issuedAt":"2026-03-14T09:26:54Z"})";
  const std::size_t sealed = bytes - std::min(bytes, head.size() + tail.size() + 4);
  return head + std::string(sealed / 4 * 4 + 4, 'A') + tail;
}

void registerPairings(std::uint16_t port, std::size_t count) {
  load::LoadLoop loop;
  std::size_t begun = 0;
  std::size_t ended = 0;
  const std::string body = R"({"client":"mac","version":1})";
  const auto begin = [&](std::size_t index) {
    load::LoadSocket& socket =
        loop.add({.port = port, .path = "", .source = sourceOf(index)},
                 {.opened = {}, .message = {}, .ended = [&](load::LoadSocket& self, unsigned code) {
                    if (code != 204) throw std::runtime_error("a registration is refused");
                    ++ended;
                    loop.remove(self);
                  }});
    socket.sendRaw("PUT /api/pairings/P" + std::to_string(index) + "/relay-token HTTP/1.1\r\nHost: relay\r\n" +
                   forwardedFor(index) + "Authorization: Bearer " + token(index) +
                   "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  };
  const auto beginSome = [&] {
    while (begun < count && begun - ended < atOnce)
      begin(begun++);
  };
  if (!loop.runUntil([&] { return ended == count; }, std::chrono::minutes(10), beginSome)) {
    throw std::runtime_error("registrations take too long");
  }
}

}  // namespace tallyfox::bench
