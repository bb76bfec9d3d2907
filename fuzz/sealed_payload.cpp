// Any bytes as a sealed payload, as a plaintext and as a secret: nothing opens but what the key sealed, unaltered, and
// base64 has one form only.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/Encoding.hpp"
#include "base/Require.hpp"
#include "relay/RelayCrypto.hpp"

namespace tallyfox {
namespace {

/// No seed was sealed with it.
constexpr const char* secret = "c4a1d70b5e9243f8a6b1c0d2e3f40596";

EncryptedRelayPayload payloadOf(std::string ciphertext) {
  return {1, "", std::move(ciphertext)};
}

void checkForgeries(ByteView bytes) {
  require(!RelayCrypto::open(payloadOf(std::string(textOf(bytes))), secret), "a forged payload does not open");
  require(!RelayCrypto::open(payloadOf(base64Encoded(bytes)), secret), "a forged box does not open");
  if (const auto decoded = base64Decoded(textOf(bytes)))
    require(base64Encoded(*decoded) == textOf(bytes), "bytes have one base64 form");
  require(base64Decoded(base64Encoded(bytes)) == Bytes(bytes.begin(), bytes.end()), "base64 reads back");
}

/// Seals all but the first bytes, which choose what is altered.
void checkSeal(ByteView bytes) {
  const std::size_t place = bytes.size() < 3 ? 0 : bytes[0] * 256U + bytes[1];
  const std::uint8_t change = bytes.size() < 3 ? 1 : std::max<std::uint8_t>(bytes[2], 1);
  const ByteView plaintext = bytes.subspan(std::min<std::size_t>(bytes.size(), 3));
  const auto sealed = RelayCrypto::seal(plaintext, secret);
  require(sealed.has_value(), "everything can be sealed");
  require(RelayCrypto::open(*sealed, secret) == Bytes(plaintext.begin(), plaintext.end()), "what was sealed opens");

  Bytes box = base64Decoded(sealed->ciphertext).value();
  require(box.size() == aesGcmNonceBytes + plaintext.size() + aesGcmTagBytes, "a box is nonce, text and tag");
  require(base64Encoded(ByteView(box).first(aesGcmNonceBytes)) == sealed->nonce, "the nonce begins the box");
  require(!RelayCrypto::open(payloadOf(base64Encoded(ByteView(box).first(place % box.size()))), secret),
          "a box cut off does not open");
  box[place % box.size()] ^= change;
  require(!RelayCrypto::open(payloadOf(base64Encoded(box)), secret), "an altered box does not open");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView bytes{data, size};
  checkForgeries(bytes);
  checkSeal(bytes);
  require(RelayCrypto::key(textOf(bytes)) == RelayCrypto::key("\u00A0\n" + std::string(textOf(bytes)) + " \t"),
          "white space around a secret does not matter");
  return 0;
}

}  // namespace tallyfox
