#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "load/LoadLoop.hpp"

namespace tallyfox::chaos {

/// What both kinds of clients share.
struct World {
  load::LoadLoop& loop;
  std::uint16_t port;
  std::mt19937_64& random;

  /// One of `count` possibilities.
  [[nodiscard]] std::size_t anyOf(std::size_t count) const {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  }
};

inline const std::string token = "token-of-every-pairing";

[[nodiscard]] inline std::string pairingName(std::size_t pairing) {
  return "P" + std::to_string(pairing);
}

[[nodiscard]] inline std::string hello(std::size_t pairing, std::size_t device) {
  return R"({"type":"phone.hello","version":1,"pairingID":")" + pairingName(pairing) + R"(","relaySecret":")" + token +
         std::to_string(pairing) + R"(","deviceID":"D)" + std::to_string(device) + R"(","deviceName":"Phone"})";
}

[[nodiscard]] inline load::Address agentAddress(std::uint16_t port, std::size_t pairing) {
  return {.port = port, .path = "/", .headers = "Authorization: Bearer " + token + std::to_string(pairing) + "\r\n"};
}

[[nodiscard]] inline std::string request(const std::string& id) {
  return R"({"type":"approval.request","decisionID":")" + id +
         R"(","encryptedRequest":{"version":1,"nonce":"AAAA","ciphertext":"AAAA"}})";
}

[[nodiscard]] inline std::string result(const std::string& id, std::size_t padding = 0) {
  return R"({"type":"approval.result","decisionID":")" + id +
         R"(","encryptedResult":{"version":1,"nonce":"AAAA","ciphertext":"AAAA"},"issuedAt":"2026-03-14T09:26:54Z",)" +
         R"("padding":")" + std::string(padding, 'x') + R"("})";
}

}  // namespace tallyfox::chaos
