// The cipher wrappers against published vectors, and against tampering.

#include "base/Crypto.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/Encoding.hpp"

namespace tallyfox {
namespace {

AesKey sampleKey() {
  AesKey key;
  for (std::size_t i = 0; i < key.size(); ++i)
    key[i] = static_cast<std::uint8_t>(i);
  return key;
}

constexpr AesGcmNonce sampleNonce = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

TEST(Crypto, digestsAsPublished) {
  EXPECT_EQ(hexEncoded(sha256({})), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hexEncoded(sha256(bytesOf("abc"))), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

// The two first AES-256 test cases of the GCM submission: an all-zero key and nonce.
TEST(Crypto, sealsAsPublished) {
  const std::string zeroNonce(24, '0');
  const auto empty = aesGcmSealed({}, {}, {});
  ASSERT_TRUE(empty.has_value());
  EXPECT_EQ(hexEncoded(*empty), zeroNonce + "530f8afbc74536b9a963b4f1c4cb738b");

  const auto block = aesGcmSealed({}, {}, Bytes(16, 0));
  ASSERT_TRUE(block.has_value());
  EXPECT_EQ(hexEncoded(*block), zeroNonce + "cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919");
}

TEST(Crypto, opensWhatItSealed) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{16}, std::size_t{100'000}}) {
    const Bytes plaintext(size, 0x5A);
    const auto sealed = aesGcmSealed(sampleKey(), sampleNonce, plaintext);
    ASSERT_TRUE(sealed.has_value());
    EXPECT_EQ(sealed->size(), aesGcmNonceBytes + size + aesGcmTagBytes);
    EXPECT_TRUE(std::ranges::equal(sampleNonce, ByteView(*sealed).first(aesGcmNonceBytes)));
    EXPECT_EQ(aesGcmOpened(sampleKey(), *sealed), plaintext);
  }
}

TEST(Crypto, refusesABoxWithAnyByteFlipped) {
  const auto sealed = aesGcmSealed(sampleKey(), sampleNonce, bytesOf("press OK"));
  ASSERT_TRUE(sealed.has_value());
  for (std::size_t at = 0; at < sealed->size(); ++at) {
    Bytes flipped = *sealed;
    flipped[at] ^= 0x01U;
    const auto opened = aesGcmOpened(sampleKey(), flipped);
    ASSERT_FALSE(opened.has_value()) << "byte " << at;
    EXPECT_FALSE(opened.error().description.empty());
  }
}

TEST(Crypto, refusesABoxThatIsTooShortOrCut) {
  const auto sealed = aesGcmSealed(sampleKey(), sampleNonce, bytesOf("press OK"));
  ASSERT_TRUE(sealed.has_value());
  for (std::size_t size = 0; size < sealed->size(); ++size)
    EXPECT_FALSE(aesGcmOpened(sampleKey(), ByteView(*sealed).first(size)).has_value()) << size << " bytes";
}

TEST(Crypto, refusesAnotherKey) {
  const auto sealed = aesGcmSealed(sampleKey(), sampleNonce, bytesOf("press OK"));
  ASSERT_TRUE(sealed.has_value());
  AesKey other = sampleKey();
  other[31] ^= 0x80U;
  EXPECT_FALSE(aesGcmOpened(other, *sealed).has_value());
}

TEST(Crypto, drawsDifferentRandomBytesEachTime) {
  AesKey first{};
  AesKey second{};
  ASSERT_TRUE(fillWithSecureRandom(first));
  ASSERT_TRUE(fillWithSecureRandom(second));
  EXPECT_NE(first, second);
  EXPECT_NE(first, AesKey{});
  EXPECT_TRUE(fillWithSecureRandom({}));
}

}  // namespace
}  // namespace tallyfox
