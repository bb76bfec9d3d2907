// End-to-end encryption: the derived key, the sealed form on the wire, what does not open, and the digest of a list.

#include "relay/RelayCrypto.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Encoding.hpp"
#include "model/SampleApproval.hpp"

namespace tallyfox {
namespace {

using testing::MatchesRegex;

const std::string secret = "correct horse";

EncryptedRelayPayload sealed(const std::string& plaintext) {
  return RelayCrypto::seal(bytesOf(plaintext), secret).value();
}

TEST(RelayCryptoKey, isTheDigestOfTheTrimmedSecret) {
  const AesKey key = RelayCrypto::key("abc");
  EXPECT_EQ(hexEncoded(key), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(RelayCrypto::key(" abc"), key);
  EXPECT_EQ(RelayCrypto::key("abc\n"), key);
  EXPECT_EQ(RelayCrypto::key("\u00A0\tabc\r\n\u2003"), key);
}

TEST(RelayCryptoKey, differsForAnotherSecret) {
  EXPECT_NE(RelayCrypto::key("ABC"), RelayCrypto::key("abc"));
  EXPECT_NE(RelayCrypto::key("a bc"), RelayCrypto::key("abc"));
}

TEST(RelayCrypto, sealsIntoTheFormOnTheWire) {
  const EncryptedRelayPayload payload = sealed("[]");
  EXPECT_EQ(payload.version, 1);
  EXPECT_EQ(payload.nonce.size(), 16U);
  const auto nonce = base64Decoded(payload.nonce);
  const auto combined = base64Decoded(payload.ciphertext);
  ASSERT_TRUE(nonce.has_value());
  ASSERT_TRUE(combined.has_value());
  EXPECT_EQ(combined->size(), 12U + 2U + 16U);
  EXPECT_EQ(Bytes(combined->begin(), combined->begin() + 12), *nonce);
}

TEST(RelayCrypto, opensABoxThatAnotherImplementationSealed) {
  // AES-256-GCM under SHA-256("abc") and a zero nonce, made with the cipher alone.
  const auto box = aesGcmSealed(sha256(bytesOf("abc")), {}, bytesOf("hello"));
  ASSERT_TRUE(box.has_value());
  EXPECT_EQ(RelayCrypto::open({1, "", base64Encoded(*box)}, " abc "), copyOfBytes("hello"));
}

TEST(RelayCrypto, drawsAFreshNonceForEveryMessage) {
  const EncryptedRelayPayload first = sealed("same");
  const EncryptedRelayPayload second = sealed("same");
  EXPECT_NE(first.nonce, second.nonce);
  EXPECT_NE(first.ciphertext, second.ciphertext);
  EXPECT_EQ(RelayCrypto::open(first, secret), copyOfBytes("same"));
  EXPECT_EQ(RelayCrypto::open(second, secret), copyOfBytes("same"));
}

TEST(RelayCrypto, ignoresVersionAndNonceMembersWhenOpening) {
  EncryptedRelayPayload payload = sealed("text");
  payload.nonce = "no base64 at all";
  payload.version = 99;
  EXPECT_EQ(RelayCrypto::open(payload, secret), copyOfBytes("text"));
}

TEST(RelayCrypto, opensNothingWithAByteFlipped) {
  const EncryptedRelayPayload payload = sealed("text");
  const Bytes combined = base64Decoded(payload.ciphertext).value();
  for (std::size_t at = 0; at < combined.size(); ++at) {
    Bytes flipped = combined;
    flipped[at] ^= 0x40U;
    EXPECT_FALSE(RelayCrypto::open({1, payload.nonce, base64Encoded(flipped)}, secret).has_value()) << "byte " << at;
  }
}

TEST(RelayCrypto, opensNothingWithAnotherSecret) {
  EXPECT_FALSE(RelayCrypto::open(sealed("text"), "Correct horse").has_value());
}

TEST(RelayCrypto, opensNothingThatIsNoBoxAndSaysWhy) {
  for (const std::string& ciphertext : {std::string(), std::string("***"), base64Encoded(Bytes(27, 0)),
                                        base64Encoded(Bytes(28, 0)), "-_-_" + std::string(40, 'A')}) {
    const auto opened = RelayCrypto::open({1, "", ciphertext}, secret);
    ASSERT_FALSE(opened.has_value()) << ciphertext;
    EXPECT_FALSE(description(opened.error()).empty());
  }
}

TEST(RelayCrypto, tellsAnInvalidTextFromWhatTheCipherRefuses) {
  const auto error = [](const std::string& ciphertext) {
    return RelayCrypto::open({1, "", ciphertext}, secret).error();
  };
  EXPECT_EQ(error("no base64"), SealingError(RelayCryptoError::invalidCiphertext));
  EXPECT_EQ(description(error("no base64")), "The ciphertext is not valid.");
  for (const std::size_t size : {std::size_t{0}, std::size_t{27}, std::size_t{28}, std::size_t{40}}) {
    const SealingError refused = error(base64Encoded(Bytes(size, 0)));
    const Bytes box(size, 0);
    EXPECT_EQ(refused, SealingError(aesGcmOpened(RelayCrypto::key(secret), box).error())) << size;
    EXPECT_EQ(description(refused), std::get<CryptoError>(refused).description);
  }
}

TEST(RelayCrypto, writesAndReadsThePayload) {
  const EncryptedRelayPayload payload{1, "bm9uY2U=", "Y2lwaGVy"};
  EXPECT_EQ(payload.json(), (Json{{"version", 1}, {"nonce", "bm9uY2U="}, {"ciphertext", "Y2lwaGVy"}}));
  EXPECT_EQ(EncryptedRelayPayload::decoded(payload.json()), payload);
  for (const char* key : {"version", "nonce", "ciphertext"}) {
    Json lacking = payload.json();
    lacking.erase(key);
    EXPECT_FALSE(EncryptedRelayPayload::decoded(lacking).has_value()) << key;
  }
}

PendingApproval approvalWith(const std::string& id, const std::vector<std::string>& labels) {
  PendingApproval approval;
  approval.id = Uuid::parsed(id).value();
  for (const std::string& label : labels)
    approval.buttons.push_back({.label = label, .role = "AXButton"});
  return approval;
}

const std::string firstID = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";
const std::string secondID = "00000000-0000-4000-8000-00000000000A";

std::string digest(const std::string& text) {
  return hexEncoded(sha256(bytesOf(text)));
}

TEST(RelaySnapshotID, isTheDigestOfNothingForAnEmptyList) {
  EXPECT_EQ(RelayCrypto::snapshotID({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(RelaySnapshotID, isTheDigestOfIdsAndLabels) {
  const std::vector<PendingApproval> approvals = {approvalWith(firstID, {"Allow", "Don't Allow"}),
                                                  approvalWith(secondID, {"OK"})};
  EXPECT_EQ(RelayCrypto::snapshotID(approvals), digest(firstID + ":Allow,Don't Allow|" + secondID + ":OK"));
  EXPECT_THAT(RelayCrypto::snapshotID(approvals), MatchesRegex("[0-9a-f]{64}"));
}

TEST(RelaySnapshotID, keepsTheColonOfAnApprovalWithoutButtons) {
  EXPECT_EQ(RelayCrypto::snapshotID({approvalWith(firstID, {})}), digest(firstID + ":"));
}

TEST(RelaySnapshotID, dependsOnTheOrderOfListAndLabels) {
  const auto first = approvalWith(firstID, {"A", "B"});
  const auto second = approvalWith(secondID, {});
  EXPECT_NE(RelayCrypto::snapshotID({first, second}), RelayCrypto::snapshotID({second, first}));
  EXPECT_NE(RelayCrypto::snapshotID({first}), RelayCrypto::snapshotID({approvalWith(firstID, {"B", "A"})}));
}

TEST(RelaySnapshotID, ignoresEverythingElseOfAnApproval) {
  PendingApproval other = sampleApproval();
  other.windowTitle = "Renamed";
  other.messageLines = {"Other"};
  other.windowFrame.x += 100;
  other.detectedAt += std::chrono::hours(1);
  other.buttons[0].x += 10;
  EXPECT_EQ(RelayCrypto::snapshotID({other}), RelayCrypto::snapshotID({sampleApproval()}));
}

}  // namespace
}  // namespace tallyfox
