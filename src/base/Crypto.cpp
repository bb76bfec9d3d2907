#include "base/Crypto.hpp"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>

namespace tallyfox {
namespace {

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

std::unexpected<CryptoError> failure(std::string description) {
  return std::unexpected(CryptoError{std::move(description)});
}

}  // namespace

Sha256Digest sha256(ByteView bytes) {
  Sha256Digest digest{};
  SHA256(bytes.data(), bytes.size(), digest.data());
  return digest;
}

std::expected<Bytes, CryptoError> aesGcmSealed(const AesKey& key, const AesGcmNonce& nonce, ByteView plaintext) {
  if (plaintext.size() > INT_MAX) return failure("The message is too large to seal.");
  const CipherContext context(EVP_CIPHER_CTX_new());
  Bytes combined(nonce.size() + plaintext.size() + aesGcmTagBytes);
  std::copy(nonce.begin(), nonce.end(), combined.begin());
  std::uint8_t* const body = combined.data() + nonce.size();
  int written = 0;
  int finished = 0;
  const bool sealed =
      context && EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce.data()) == 1 &&
      EVP_EncryptUpdate(context.get(), body, &written, plaintext.data(), static_cast<int>(plaintext.size())) == 1 &&
      EVP_EncryptFinal_ex(context.get(), body + written, &finished) == 1 &&
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, aesGcmTagBytes, body + plaintext.size()) == 1;
  if (!sealed) return failure("The message could not be sealed.");
  return combined;
}

std::expected<Bytes, CryptoError> aesGcmOpened(const AesKey& key, ByteView combined) {
  if (combined.size() < aesGcmNonceBytes + aesGcmTagBytes || combined.size() > INT_MAX)
    return failure("The sealed box has no valid form.");
  const ByteView nonce = combined.first(aesGcmNonceBytes);
  const ByteView body = combined.subspan(aesGcmNonceBytes, combined.size() - aesGcmNonceBytes - aesGcmTagBytes);
  Bytes tag(combined.end() - static_cast<std::ptrdiff_t>(aesGcmTagBytes), combined.end());
  const CipherContext context(EVP_CIPHER_CTX_new());
  Bytes plaintext(body.size());
  std::uint8_t spare = 0;
  int written = 0;
  int finished = 0;
  const bool opened = context &&
                      EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce.data()) == 1 &&
                      EVP_DecryptUpdate(context.get(), plaintext.empty() ? &spare : plaintext.data(), &written,
                                        body.data(), static_cast<int>(body.size())) == 1 &&
                      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, aesGcmTagBytes, tag.data()) == 1 &&
                      EVP_DecryptFinal_ex(context.get(), &spare, &finished) == 1;
  if (!opened) return failure("The sealed box does not authenticate.");
  return plaintext;
}

}  // namespace tallyfox
