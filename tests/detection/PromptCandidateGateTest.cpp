// A dialog passes from the second scan in a row that sees it; one scan without it and it starts anew.

#include "detection/PromptCandidateGate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

Uuid id(std::uint8_t number) {
  Uuid made;
  made.bytes[0] = number;
  return made;
}

TEST(PromptCandidateGate, holdsBackADialogSeenOnce) {
  PromptCandidateGate gate;
  EXPECT_THAT(gate.publishableIDs({id(1)}), IsEmpty());
  EXPECT_THAT(gate.publishableIDs({id(1), id(2)}), UnorderedElementsAre(id(1)));
  EXPECT_THAT(gate.publishableIDs({id(1), id(2)}), UnorderedElementsAre(id(1), id(2)));
  EXPECT_THAT(gate.observationCounts(), UnorderedElementsAre(Pair(id(1), 3), Pair(id(2), 2)));
}

TEST(PromptCandidateGate, isClearedByAnEmptySet) {
  PromptCandidateGate gate;
  (void)gate.publishableIDs({id(1)});
  EXPECT_THAT(gate.publishableIDs({}), IsEmpty());
  EXPECT_THAT(gate.observationCounts(), IsEmpty());
}

TEST(PromptCandidateGate, startsAnewAfterAScanThatMissedTheDialog) {
  PromptCandidateGate gate;
  std::vector<int> published;
  for (int scan = 1; scan <= 5; ++scan) {
    const bool isSeen = scan != 3;
    const auto passed = gate.publishableIDs(isSeen ? std::unordered_set<Uuid>{id(1)} : std::unordered_set<Uuid>{});
    if (!passed.empty()) published.push_back(scan);
  }
  EXPECT_THAT(published, testing::ElementsAre(2, 5));
}

TEST(PromptCandidateGate, countsExactlyTheDialogsOfTheLastScan) {
  PromptCandidateGate gate;
  (void)gate.publishableIDs({id(1), id(2)});
  (void)gate.publishableIDs({id(2), id(3)});
  EXPECT_THAT(gate.observationCounts(), UnorderedElementsAre(Pair(id(2), 2), Pair(id(3), 1)));
}

}  // namespace
}  // namespace tallyfox
