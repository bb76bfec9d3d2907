// For every message that crosses the wire: it reads back as itself, as a frame it is told by its type, and what it
// seals arrives as it was sealed.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <variant>

#include "base/Encoding.hpp"
#include "model/Generators.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayFrameDecoder.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox {
namespace {

rc::Gen<EncryptedRelayPayload> payload() {
  using P = EncryptedRelayPayload;
  return rc::gen::build<P>(rc::gen::set(&P::version), rc::gen::set(&P::nonce, generate::text()),
                           rc::gen::set(&P::ciphertext, generate::text()));
}
rc::Gen<std::optional<Date>> maybeDate() {
  return generate::optional(generate::wholeSecond());
}
rc::Gen<std::string> secret() {
  return rc::gen::map(generate::text(), [](const std::string& text) { return text + "s"; });
}

template <typename Message>
void readsBack(const Message& message) {
  const auto json = parsedJson(jsonText(message.json()));
  RC_ASSERT(json.has_value());
  RC_ASSERT((Message::decoded(*json) == message));
}

/// Reads back, and a frame of it is told as what it is.
template <typename Message>
void arrives(const Message& message) {
  readsBack(message);
  RC_ASSERT((decodedRelayFrame(bytesOf(jsonText(message.json()))) == IncomingRelayFrame(message)));
}

RC_GTEST_PROP(RelayProperties, outgoingMessagesReadBack, ()) {
  readsBack(MacSnapshotRelayMessage{.observedAt = *generate::wholeSecond(),
                                    .accessibilityTrusted = *rc::gen::arbitrary<bool>(),
                                    .encryptedApprovals = *payload(),
                                    .approvalCount = *rc::gen::arbitrary<std::int64_t>(),
                                    .snapshotID = *generate::text()});
  readsBack(ApprovalResultRelayMessage{
      .decisionID = *generate::text(), .encryptedResult = *payload(), .issuedAt = *generate::wholeSecond()});
  readsBack(
      UnpairPhoneRelayMessage{.deviceID = *generate::optional(generate::text()), .issuedAt = *generate::wholeSecond()});
}

RC_GTEST_PROP(RelayProperties, incomingMessagesArrive, ()) {
  arrives(ApprovalRequestRelayMessage{
      .decisionID = *generate::text(), .encryptedRequest = *payload(), .issuedAt = *maybeDate()});
  arrives(ApprovalSuppressionRelayMessage{
      .type = std::string(*rc::gen::element(relay_type::approvalSuppress, relay_type::approvalUnsuppress)),
      .decisionID = *generate::text(),
      .encryptedSuppression = *payload(),
      .issuedAt = *maybeDate()});
  const auto phones = rc::gen::resize(4, rc::gen::container<std::vector<RelayPhoneStatus>>(generate::phoneStatus()));
  arrives(PhoneStatusRelayMessage{.phoneConnected = *rc::gen::arbitrary<bool>(),
                                  .phoneCount = *rc::gen::arbitrary<std::int64_t>(),
                                  .phones = *generate::optional(phones)});
}

RC_GTEST_PROP(RelayProperties, otherTypesAreUnknown, ()) {
  const std::string type = *generate::text();
  RC_PRE(type != relay_type::approvalRequest && type != relay_type::phoneStatus);
  RC_ASSERT((decodedRelayFrame(bytesOf(jsonText({{"type", type}}))) == IncomingRelayFrame(UnknownRelayFrame{})));
}

RC_GTEST_PROP(RelayProperties, sealedBytesOpenUnderTheirSecretOnly, ()) {
  const std::string key = *secret();
  const Bytes plaintext = *generate::bytes();
  const auto sealed = RelayCrypto::seal(plaintext, key);
  RC_ASSERT(sealed.has_value());
  RC_ASSERT(sealed->version == 1);
  RC_ASSERT(base64Decoded(sealed->ciphertext)->size() == plaintext.size() + aesGcmNonceBytes + aesGcmTagBytes);
  RC_ASSERT(sealed->ciphertext.starts_with(sealed->nonce));
  RC_ASSERT((RelayCrypto::open(*sealed, " \u00A0" + key + "\n") == plaintext));
  RC_ASSERT(!RelayCrypto::open(*sealed, key + "x").has_value());
  auto again = RelayCrypto::seal(plaintext, key).value();
  RC_ASSERT(again.ciphertext != sealed->ciphertext);
  again.nonce = *generate::text();
  again.version = *rc::gen::arbitrary<std::int64_t>();
  RC_ASSERT((RelayCrypto::open(again, key) == plaintext));
}

RC_GTEST_PROP(RelayProperties, sealedCommandsArrive, ()) {
  const std::string key = *secret();
  const auto request = *generate::requestCommand();
  const auto suppression = *generate::suppressionCommand();
  ApprovalRequestRelayMessage outer;
  outer.encryptedRequest = RelayCrypto::seal(bytesOf(jsonText(request.json())), key).value();
  RC_ASSERT((openedRequest(outer, key) == request));
  ApprovalSuppressionRelayMessage other;
  other.encryptedSuppression = RelayCrypto::seal(bytesOf(jsonText(suppression.json())), key).value();
  RC_ASSERT((openedSuppression(other, key) == suppression));
}

RC_GTEST_PROP(RelayProperties, aListsDigestTellsIdsAndLabelsOnly, ()) {
  const auto list = *rc::gen::resize(4, rc::gen::container<std::vector<PendingApproval>>(generate::approval()));
  const std::string digest = RelayCrypto::snapshotID(list);
  RC_ASSERT(digest.size() == 64U);
  std::vector<PendingApproval> changed = list;
  for (PendingApproval& approval : changed) {
    const PendingApproval random = *generate::approval();
    PendingApproval next = random;
    next.id = approval.id;
    next.buttons = approval.buttons;
    for (DialogButton& button : next.buttons)
      button = {button.label, random.reason, 1, 2, 3, 4};
    approval = next;
  }
  RC_ASSERT(RelayCrypto::snapshotID(changed) == digest);
  RC_PRE(!changed.empty());
  PendingApproval& any = changed[*rc::gen::inRange<std::size_t>(0, changed.size())];
  if (*rc::gen::arbitrary<bool>())
    any.id.bytes[3] ^= 1U;
  else
    any.buttons.push_back({"One more", "AXButton", 0, 0, 0, 0});
  RC_ASSERT(RelayCrypto::snapshotID(changed) != digest);
}

}  // namespace
}  // namespace tallyfox
