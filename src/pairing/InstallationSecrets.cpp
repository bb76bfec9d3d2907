#include "pairing/InstallationSecrets.hpp"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Encoding.hpp"
#include "base/Text.hpp"
#include "base/Uuid.hpp"

namespace tallyfox {
namespace {

constexpr std::string_view defaultPrefix = "tallyfox";
constexpr std::size_t pairingIDBytes = 16;

bool isAsciiAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isUtf8Continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// Relays take ASCII in a pairing id only, so a character beyond it is replaced like a punctuation mark: by one "-".
std::string sanitized(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (isUtf8Continuation(c)) continue;
    result += isAsciiAlphanumeric(c) || c == '_' ? c : '-';
  }
  const std::size_t first = result.find_first_not_of("-_");
  if (first == std::string::npos) return {};
  return lowercased(std::string_view(result).substr(first, result.find_last_not_of("-_") - first + 1));
}

std::string undashedUuid() {
  std::string text = lowercased(Uuid::random().text());
  std::erase(text, '-');
  return text;
}

}  // namespace

bool InstallationSecrets::isUsable() const {
  return !trimmed(pairingID).empty() && !trimmed(relayAuthToken).empty() && !trimmed(e2eSecret).empty();
}

Json InstallationSecrets::json() const {
  Json value = Json::object();
  value["pairingID"] = pairingID;
  value["relayAuthToken"] = relayAuthToken;
  value["e2eSecret"] = e2eSecret;
  return value;
}

std::expected<InstallationSecrets, DecodingError> InstallationSecrets::decoded(const Json& value) {
  JsonObjectReader reader(value);
  InstallationSecrets secrets;
  secrets.pairingID = reader.string("pairingID");
  secrets.relayAuthToken = reader.string("relayAuthToken");
  secrets.e2eSecret = reader.string("e2eSecret");
  return reader.finish(std::move(secrets));
}

std::string randomHex(std::size_t byteCount, RandomSource source) {
  std::vector<std::uint8_t> bytes(byteCount);
  if (source(bytes)) return hexEncoded(bytes);
  return undashedUuid() + undashedUuid();
}

std::string createdPairingID(const std::string* seed) {
  std::string prefix(defaultPrefix);
  if (seed != nullptr) {
    const std::string text = trimmed(*seed);
    std::string candidate = sanitized(std::string_view(text).substr(0, text.find('-')));
    if (!candidate.empty()) prefix = std::move(candidate);
  }
  return prefix + "-" + randomHex(pairingIDBytes);
}

}  // namespace tallyfox
