#include "relay/RelayCrypto.hpp"

#include <cstdint>
#include <utility>

#include "base/Encoding.hpp"
#include "base/Text.hpp"

namespace tallyfox {
Json EncryptedRelayPayload::json() const {
  return {{"version", version}, {"nonce", nonce}, {"ciphertext", ciphertext}};
}

std::expected<EncryptedRelayPayload, DecodingError> EncryptedRelayPayload::decoded(const Json& value) {
  JsonObjectReader reader(value);
  EncryptedRelayPayload payload;
  payload.version = reader.integer("version", INT64_MIN, INT64_MAX);
  payload.nonce = reader.string("nonce");
  payload.ciphertext = reader.string("ciphertext");
  return reader.finish(std::move(payload));
}

std::string_view description(RelayCryptoError error) {
  switch (error) {
    case RelayCryptoError::invalidCiphertext:
      return "The ciphertext is not valid.";
  }
  return {};
}

std::string description(const SealingError& error) {
  if (const auto* cipher = std::get_if<CryptoError>(&error)) return cipher->description;
  return std::string(description(std::get<RelayCryptoError>(error)));
}

AesKey RelayCrypto::key(std::string_view secret) {
  return sha256(bytesOf(trimmed(secret)));
}

std::expected<EncryptedRelayPayload, SealingError> RelayCrypto::seal(ByteView plaintext, std::string_view secret) {
  AesGcmNonce nonce{};
  if (!fillWithSecureRandom(nonce)) return std::unexpected(CryptoError{"No secure random bytes are available."});
  const auto combined = aesGcmSealed(key(secret), nonce, plaintext);
  if (!combined) return std::unexpected(combined.error());
  return EncryptedRelayPayload{1, base64Encoded(nonce), base64Encoded(*combined)};
}

std::expected<Bytes, SealingError> RelayCrypto::open(const EncryptedRelayPayload& payload, std::string_view secret) {
  const auto combined = base64Decoded(payload.ciphertext);
  if (!combined) return std::unexpected(RelayCryptoError::invalidCiphertext);
  return aesGcmOpened(key(secret), *combined);
}

std::string RelayCrypto::snapshotID(const std::vector<PendingApproval>& approvals) {
  std::vector<std::string> entries;
  entries.reserve(approvals.size());
  for (const auto& approval : approvals)
    entries.push_back(approval.id.text() + ":" + joined(approval.buttonLabels(), ","));
  return hexEncoded(sha256(bytesOf(joined(entries, "|"))));
}

}  // namespace tallyfox
