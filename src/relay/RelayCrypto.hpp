#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Crypto.hpp"
#include "base/Json.hpp"
#include "model/PendingApproval.hpp"

namespace tallyfox {

/// The sealed form of a plaintext on the wire.
struct EncryptedRelayPayload {
  std::int64_t version = 1;
  std::string nonce;       ///< base64 of the 12-byte nonce; ignored when opening
  std::string ciphertext;  ///< base64 of nonce, ciphertext and tag
  bool operator==(const EncryptedRelayPayload&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<EncryptedRelayPayload, DecodingError> decoded(const Json& value);
};

/// The payload's text is no base64, or sealing gave no combined box.
enum class RelayCryptoError { invalidCiphertext };
[[nodiscard]] std::string_view description(RelayCryptoError error);

/// What the cipher itself refuses passes through as it is.
using SealingError = std::variant<RelayCryptoError, CryptoError>;
/// A sentence for a log line.
[[nodiscard]] std::string description(const SealingError& error);

/// End-to-end encryption between agent and phone. Stateless; any thread.
class RelayCrypto {
 public:
  RelayCrypto() = delete;
  /// SHA-256 of the secret without white space at both ends.
  [[nodiscard]] static AesKey key(std::string_view secret);
  /// With a fresh random nonce each time.
  [[nodiscard]] static std::expected<EncryptedRelayPayload, SealingError> seal(ByteView plaintext,
                                                                               std::string_view secret);
  [[nodiscard]] static std::expected<Bytes, SealingError> open(const EncryptedRelayPayload& payload,
                                                               std::string_view secret);
  /// 64 lower-case hexadecimal digits that change with the ids and button labels of the list, nothing else.
  [[nodiscard]] static std::string snapshotID(const std::vector<PendingApproval>& approvals);
};

}  // namespace tallyfox
