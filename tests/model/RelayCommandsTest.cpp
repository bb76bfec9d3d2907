// The plaintext commands between phone and agent: their JSON form and what is refused.

#include "model/RelayCommands.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tallyfox {
namespace {

const std::string idText = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";
const std::string muteText = "00000000-0000-4000-8000-000000000001";

TEST(RelayCommands, writeARequest) {
  const ApprovalRequestCommand command{Uuid::parsed(idText).value(), "Don’t Allow"};
  EXPECT_EQ(jsonText(command.json()), R"({"approvalID":")" + idText + R"(","buttonLabel":"Don’t Allow"})");
  EXPECT_EQ(ApprovalRequestCommand::decoded(command.json()), command);
}

TEST(RelayCommands, refuseARequestThatLacksSomething) {
  EXPECT_FALSE(ApprovalRequestCommand::decoded({{"approvalID", idText}}).has_value());
  EXPECT_FALSE(ApprovalRequestCommand::decoded({{"buttonLabel", "OK"}}).has_value());
  EXPECT_FALSE(ApprovalRequestCommand::decoded({{"approvalID", "x"}, {"buttonLabel", "OK"}}).has_value());
  EXPECT_FALSE(ApprovalRequestCommand::decoded({{"approvalID", idText}, {"buttonLabel", 1}}).has_value());
  EXPECT_FALSE(ApprovalRequestCommand::decoded(Json::array()).has_value());
}

TEST(RelayCommands, ignoreMembersThatARecordDoesNotList) {
  const auto command = ApprovalRequestCommand::decoded({{"approvalID", idText}, {"buttonLabel", "OK"}, {"more", 1}});
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->buttonLabel, "OK");
}

TEST(RelayCommands, writeASuppressionWithAndWithoutItsApproval) {
  ApprovalSuppressionCommand command{"suppress", Uuid::parsed(idText).value(), Uuid::parsed(muteText).value()};
  EXPECT_EQ(command.json(), (Json{{"action", "suppress"}, {"approvalID", idText}, {"suppressionID", muteText}}));
  EXPECT_EQ(ApprovalSuppressionCommand::decoded(command.json()), command);
  command.approvalID.reset();
  EXPECT_FALSE(command.json().contains("approvalID"));
  EXPECT_EQ(ApprovalSuppressionCommand::decoded(command.json()), command);
  EXPECT_EQ(ApprovalSuppressionCommand::decoded(
                {{"action", "suppress"}, {"approvalID", nullptr}, {"suppressionID", muteText}}),
            command);
}

TEST(RelayCommands, refuseASuppressionThatLacksSomething) {
  EXPECT_FALSE(ApprovalSuppressionCommand::decoded({{"action", "suppress"}}).has_value());
  EXPECT_FALSE(ApprovalSuppressionCommand::decoded({{"suppressionID", muteText}}).has_value());
  EXPECT_FALSE(
      ApprovalSuppressionCommand::decoded({{"action", "suppress"}, {"suppressionID", muteText}, {"approvalID", "x"}})
          .has_value());
}

TEST(RelayCommands, keepAnActionThatTheAgentDoesNotKnow) {
  const auto command = ApprovalSuppressionCommand::decoded({{"action", "other"}, {"suppressionID", muteText}});
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->action, "other");
}

TEST(RelayCommands, writeAResultWithAndWithoutItsError) {
  ApprovalResultCommand command{Uuid::parsed(idText).value(), "OK", approval_status::failed, "It stayed."};
  EXPECT_EQ(command.json(),
            (Json{{"approvalID", idText}, {"buttonLabel", "OK"}, {"status", "failed"}, {"error", "It stayed."}}));
  EXPECT_EQ(ApprovalResultCommand::decoded(command.json()), command);
  command.error.reset();
  EXPECT_FALSE(command.json().contains("error"));
  EXPECT_EQ(ApprovalResultCommand::decoded(command.json()), command);
}

TEST(RelayCommands, nameTheFourStatuses) {
  EXPECT_STREQ(approval_status::accepted, "accepted");
  EXPECT_STREQ(approval_status::failed, "failed");
  EXPECT_STREQ(approval_status::notFound, "not_found");
  EXPECT_STREQ(approval_status::requiresDirectAccess, "requires_direct_access");
}

TEST(RelayCommands, readIdsInAnyCaseAndWriteThemInUpperCase) {
  const auto command =
      ApprovalRequestCommand::decoded({{"approvalID", "e621e1f8-c36c-495a-93fc-0c247a3e6e5f"}, {"buttonLabel", "OK"}});
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->json()["approvalID"], idText);
}

}  // namespace
}  // namespace tallyfox
