#pragma once

#include <array>
#include <cstdint>
#include <expected>
#include <string>

#include "base/Bytes.hpp"

namespace tallyfox {

/// Thin wrappers over OpenSSL; stateless, callable from any thread.

using Sha256Digest = std::array<std::uint8_t, 32>;
[[nodiscard]] Sha256Digest sha256(ByteView bytes);

/// Fills from the secure source of OpenSSL, on the Mac from the system's own; false when that source fails (the content
/// is then unspecified).
[[nodiscard]] bool fillWithSecureRandom(std::span<std::uint8_t> bytes);

inline constexpr std::size_t aesGcmNonceBytes = 12;
inline constexpr std::size_t aesGcmTagBytes = 16;
using AesKey = std::array<std::uint8_t, 32>;
using AesGcmNonce = std::array<std::uint8_t, aesGcmNonceBytes>;

struct CryptoError {
  std::string description;
  bool operator==(const CryptoError&) const = default;
};

/// AES-256-GCM without associated data. The result is nonce, ciphertext, tag, in this order.
[[nodiscard]] std::expected<Bytes, CryptoError> aesGcmSealed(const AesKey& key, const AesGcmNonce& nonce,
                                                             ByteView plaintext);
/// Opens such a combined box; fails when it is too short or does not authenticate.
[[nodiscard]] std::expected<Bytes, CryptoError> aesGcmOpened(const AesKey& key, ByteView combined);

}  // namespace tallyfox
