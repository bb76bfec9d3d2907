// The JSON form of the approval record, to the letter: order of keys, absent members, dates, UUIDs, and what is
// refused.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "model/PendingApproval.hpp"
#include "model/SampleApproval.hpp"

namespace tallyfox {
namespace {

const std::string sampleText =
    R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","suppressionID":"00000000-0000-4000-8000-000000000001",)"
    R"("detectedAt":"2026-03-14T09:26:53Z","appName":"Finder","bundleIdentifier":"com.apple.finder",)"
    R"("processIdentifier":412,"windowTitle":"Empty Trash","windowRole":"AXWindow",)"
    R"("windowFrame":{"x":120.0,"y":88.0,"width":420.0,"height":190.0},)"
    R"("messageLines":["Are you sure?","You can’t undo this."],"reason":"destructive confirmation",)"
    R"("buttons":[{"label":"Cancel","role":"AXButton","x":300.0,"y":240.0,"width":80.0,"height":24.0},)"
    R"({"label":"Empty Trash","role":"AXButton","x":390.0,"y":240.0,"width":120.0,"height":24.0}],)"
    R"("recommendedButtonLabel":"Empty Trash","requiresDirectAccess":true,)"
    R"("directAccessReason":"It asks for a password.","isFallbackDetection":true})";

Json without(const std::string& key) {
  Json json = sampleApproval().json();
  json.erase(key);
  return json;
}

Json with(const std::string& key, const Json& value) {
  Json json = sampleApproval().json();
  json[key] = value;
  return json;
}

TEST(PendingApprovalJson, isWrittenInTheOrderOfItsFields) {
  EXPECT_EQ(jsonText(sampleApproval().json()), sampleText);
}

TEST(PendingApprovalJson, readsBackWhatItWrote) {
  EXPECT_EQ(PendingApproval::decoded(parsedJson(sampleText).value()), sampleApproval());
}

TEST(PendingApprovalJson, leavesAbsentTextsOut) {
  PendingApproval approval = sampleApproval();
  approval.bundleIdentifier.reset();
  approval.recommendedButtonLabel.reset();
  approval.directAccessReason.reset();
  const Json json = approval.json();
  for (const char* key : {"bundleIdentifier", "recommendedButtonLabel", "directAccessReason"})
    EXPECT_FALSE(json.contains(key)) << key;
  EXPECT_EQ(json.size(), 13U);
  EXPECT_EQ(PendingApproval::decoded(json), approval);
}

TEST(PendingApprovalJson, readsNullTextsAsAbsent) {
  const auto approval = PendingApproval::decoded(with("bundleIdentifier", nullptr));
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->bundleIdentifier, std::nullopt);
}

TEST(PendingApprovalJson, takesTheIdForAMissingSuppressionIDAndWritesItOutAgain) {
  const auto approval = PendingApproval::decoded(without("suppressionID"));
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->suppressionID, approval->id);
  EXPECT_EQ(approval->json()["suppressionID"], "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
}

TEST(PendingApprovalJson, requiresEveryOtherKey) {
  const std::set<std::string> optional = {"suppressionID", "bundleIdentifier", "recommendedButtonLabel",
                                          "directAccessReason"};
  const Json complete = sampleApproval().json();
  ASSERT_EQ(complete.size(), 16U);
  for (const auto& item : complete.items())
    EXPECT_EQ(PendingApproval::decoded(without(item.key())).has_value(), optional.contains(item.key())) << item.key();
}

TEST(PendingApprovalJson, refusesAWrongTypeForEveryKey) {
  const Json complete = sampleApproval().json();
  for (const auto& item : complete.items())
    EXPECT_FALSE(PendingApproval::decoded(with(item.key(), Json{{"wrong", 1}})).has_value()) << item.key();
}

TEST(PendingApprovalJson, refusesAWrongPartOfANestedRecord) {
  Json json = sampleApproval().json();
  json["buttons"][1].erase("role");
  EXPECT_FALSE(PendingApproval::decoded(json).has_value());
  json = sampleApproval().json();
  json["windowFrame"]["width"] = nullptr;
  EXPECT_FALSE(PendingApproval::decoded(json).has_value());
  EXPECT_FALSE(PendingApproval::decoded(with("messageLines", {"text", 1})).has_value());
}

TEST(PendingApprovalJson, ignoresMembersThatItDoesNotList) {
  EXPECT_EQ(PendingApproval::decoded(with("unlisted", 1)), sampleApproval());
}

TEST(PendingApprovalJson, readsUuidsInAnyCase) {
  const auto approval = PendingApproval::decoded(with("id", "e621e1f8-C36C-495a-93fc-0c247a3e6e5f"));
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->id, sampleApproval().id);
}

TEST(PendingApprovalJson, refusesAMalformedUuid) {
  EXPECT_FALSE(PendingApproval::decoded(with("id", "E621E1F8")).has_value());
  EXPECT_FALSE(PendingApproval::decoded(with("suppressionID", "E621E1F8")).has_value());
}

TEST(PendingApprovalJson, readsDatesWithAndWithoutFractions) {
  const auto whole = PendingApproval::decoded(with("detectedAt", "2026-03-14T09:26:53Z"));
  const auto fraction = PendingApproval::decoded(with("detectedAt", "2026-03-14T09:26:53.589Z"));
  ASSERT_TRUE(whole.has_value());
  ASSERT_TRUE(fraction.has_value());
  EXPECT_EQ(fraction->detectedAt - whole->detectedAt, std::chrono::milliseconds(589));
  EXPECT_EQ(fraction->json()["detectedAt"], "2026-03-14T09:26:53Z");
}

TEST(PendingApprovalJson, saysWhatADateShouldBe) {
  const auto approval = PendingApproval::decoded(with("detectedAt", "2026-03-14 09:26:53"));
  ASSERT_FALSE(approval.has_value());
  EXPECT_EQ(approval.error().description, "Expected ISO-8601 date string.");
}

TEST(PendingApprovalJson, boundsTheProcessIdentifierToThirtyTwoBits) {
  EXPECT_TRUE(PendingApproval::decoded(with("processIdentifier", INT32_MAX)).has_value());
  EXPECT_TRUE(PendingApproval::decoded(with("processIdentifier", INT32_MIN)).has_value());
  EXPECT_FALSE(PendingApproval::decoded(with("processIdentifier", INT64_C(1) << 31)).has_value());
  EXPECT_FALSE(PendingApproval::decoded(with("processIdentifier", 1.5)).has_value());
}

TEST(PendingApprovalList, isAnArrayInOrder) {
  PendingApproval second = sampleApproval();
  second.id = Uuid{};
  const std::vector<PendingApproval> approvals = {sampleApproval(), second};
  EXPECT_EQ(jsonText(approvalsJson({})), "[]");
  EXPECT_EQ(decodedApprovals(approvalsJson(approvals)), approvals);
  EXPECT_EQ(decodedApprovals(Json::array()), std::vector<PendingApproval>());
}

TEST(PendingApprovalList, isRefusedAsAWholeForOneWrongElement) {
  Json list = approvalsJson({sampleApproval(), sampleApproval()});
  list[1].erase("appName");
  EXPECT_FALSE(decodedApprovals(list).has_value());
  EXPECT_FALSE(decodedApprovals(sampleApproval().json()).has_value());
}

}  // namespace
}  // namespace tallyfox
