// The owner's log line about a decision says what and how, and nothing that came from outside can break it.

#include "app/DecisionWording.hpp"

#include <gtest/gtest.h>

#include <string>

#include "model/RelayCommands.hpp"

namespace tallyfox {
namespace {

TEST(DecisionWording, namesStatusAndPath) {
  EXPECT_EQ(decisionLine("d-1", approval_status::accepted, ClickPath::accessibilityPress),
            "Decision d-1: accepted by accessibility press.");
  EXPECT_EQ(decisionLine("d-1", approval_status::accepted, ClickPath::returnOrEscape),
            "Decision d-1: accepted by return or escape key.");
}

TEST(DecisionWording, namesTheStatusAloneWithoutAPress) {
  EXPECT_EQ(decisionLine("d-1", approval_status::failed, std::nullopt), "Decision d-1: failed.");
  EXPECT_EQ(decisionLine("d-1", approval_status::notFound, std::nullopt), "Decision d-1: not found.");
  EXPECT_EQ(decisionLine("d-1", approval_status::requiresDirectAccess, std::nullopt),
            "Decision d-1: requires direct access.");
}

TEST(DecisionWording, staysOneShortPlainLineWhateverTheIdentifier) {
  EXPECT_EQ(decisionLine("a\nb c\x7F", approval_status::failed, std::nullopt), "Decision a?b?c?: failed.");
  EXPECT_EQ(decisionLine(std::string(1000, 'x'), approval_status::failed, std::nullopt),
            "Decision " + std::string(64, 'x') + ": failed.");
}

}  // namespace
}  // namespace tallyfox
