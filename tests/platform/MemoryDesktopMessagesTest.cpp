// Shows what messages to applications cost on the desktop in memory: trust, time-outs, read scopes and traffic.

#include "MemoryDesktopFixture.hpp"

namespace tallyfox::memory {
namespace {

class MemoryDesktopMessagesTest : public MemoryDesktopFixture {
 protected:
  std::pair<std::size_t, std::size_t> traffic() {
    const MemoryDesktop::Traffic seen = desktop.traffic();
    desktop.resetTraffic();
    return {seen.messages, seen.rounds};
  }
  using Cost = std::pair<std::size_t, std::size_t>;
};

TEST_F(MemoryDesktopMessagesTest, answersNothingWithoutTrust) {
  desktop.setTrusted(false);
  EXPECT_FALSE(desktop.accessibility().isProcessTrusted());
  EXPECT_EQ(read(box, AXAttribute::role), std::unexpected(AXError::notTrusted));
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::notTrusted));
  EXPECT_EQ(set(box, AXAttribute::main, true), std::unexpected(AXError::notTrusted));
  EXPECT_EQ(desktop.accessibility().elementAtPosition({500, 350}), std::unexpected(AXError::notTrusted));
  EXPECT_EQ(desktop.observers().observe(pid, {}, [](const std::string&) {}).error(), AXError::notTrusted);
  const auto scope = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::role}, 80});
  EXPECT_EQ(read(box, AXAttribute::role), std::unexpected(AXError::notTrusted));
  EXPECT_EQ(traffic(), Cost(0, 0));
  EXPECT_TRUE(desktop.deeds().empty());
}

TEST_F(MemoryDesktopMessagesTest, tellsOfChangesOfTrustOnly) {
  int changes = 0;
  const auto subscription = desktop.observers().observeTrustChanges([&] { ++changes; });
  desktop.setTrusted(true);
  desktop.setTrusted(false);
  EXPECT_EQ(changes, 0);
  time.runDue();
  EXPECT_EQ(changes, 1);
}

TEST_F(MemoryDesktopMessagesTest, costsTheTimeoutForEveryMessageToAHangingApplication) {
  desktop.setFault(pid, Fault::hang);
  EXPECT_EQ(read(box, AXAttribute::role), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
  desktop.elements().setMessagingTimeout(desktop.application(pid), Seconds{0.5});
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 0.7);
  EXPECT_EQ(set(box, AXAttribute::main, true), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 1.2);
  EXPECT_EQ(desktop.elements().copyActionNames(desktop.element(save)), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 1.7);
  EXPECT_TRUE(desktop.presses().empty());
}

TEST_F(MemoryDesktopMessagesTest, usesTheSystemWideTimeoutForFocusAndHitQuestions) {
  desktop.setFault(pid, Fault::hang);
  desktop.elements().setMessagingTimeout(desktop.application(pid), Seconds{9});
  desktop.elements().setMessagingTimeout(desktop.accessibility().systemWideElement(), Seconds{0.1});
  EXPECT_EQ(focusedWindow(), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 0.1);
  EXPECT_EQ(desktop.accessibility().elementAtPosition({500, 350}), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
}

TEST_F(MemoryDesktopMessagesTest, keepsTimeoutsOfTheMainThreadAndOfOthersApart) {
  desktop.setFault(pid, Fault::hang);
  mainQueue->post([this] { desktop.elements().setMessagingTimeout(desktop.application(pid), Seconds{5}); });
  scanQueue->post([this] { EXPECT_FALSE(read(box, AXAttribute::role)); });
  time.runDue();
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
}

TEST_F(MemoryDesktopMessagesTest, letsTheMainQueueWorkWhileTheScanWaitsForAHangingApplication) {
  desktop.setFault(pid, Fault::hang);
  double mainRanAt = -1;
  const auto handle = mainQueue->after(Seconds{0.05}, [&] { mainRanAt = seconds(); });
  scanQueue->post([this] { EXPECT_FALSE(read(box, AXAttribute::role)); });
  time.runDue();
  EXPECT_EQ(mainRanAt, 0.05);
}

TEST_F(MemoryDesktopMessagesTest, delaysOnlyQuestionsToTheHangingApplication) {
  const std::int32_t other = desktop.launch("Other");
  const ElementID foreign = desktop.openWindow(other, messageBox("Other", {}, {"OK"}));
  desktop.setFault(pid, Fault::hang);
  EXPECT_TRUE(read(foreign, AXAttribute::role));
  EXPECT_EQ(focusedWindow(), handle(foreign));
  EXPECT_EQ(seconds(), 0);
}

TEST_F(MemoryDesktopMessagesTest, makesTheProcessIdentifierKnownWithoutAMessage) {
  EXPECT_EQ(desktop.elements().processIdentifier(desktop.element(save)), pid);
  EXPECT_EQ(desktop.elements().processIdentifier(desktop.application(9999)), 9999);
  EXPECT_EQ(desktop.elements().processIdentifier(desktop.accessibility().systemWideElement()),
            std::unexpected(AXError::unsupported));
  EXPECT_EQ(traffic(), Cost(0, 0));
}

TEST_F(MemoryDesktopMessagesTest, costsOneMessageAndOneRoundForEveryReadWithoutAScope) {
  EXPECT_TRUE(read(box, AXAttribute::role));
  EXPECT_TRUE(read(box, AXAttribute::title));
  EXPECT_TRUE(desktop.elements().copyActionNames(desktop.element(save)));
  EXPECT_TRUE(focusedWindow());
  EXPECT_EQ(traffic(), Cost(4, 4));
}

TEST_F(MemoryDesktopMessagesTest, costsOneMessageAnElementAndOneRoundALevelForAScope) {
  ElementSpec inner{.role = "AXGroup", .children = {ElementSpec{.role = "AXStaticText", .value = "deep"}}};
  desktop.addChild(box, inner);
  const AXReadPlan plan{{desktop.element(box)}, {AXAttribute::role, AXAttribute::title, AXAttribute::children}, 80};
  const auto scope = desktop.accessibility().willRead(plan);
  EXPECT_EQ(traffic(), Cost(7, 3));
  EXPECT_TRUE(read(box, AXAttribute::role));
  EXPECT_TRUE(read(save, AXAttribute::title));
  EXPECT_EQ(read(save, AXAttribute::subrole), std::unexpected(AXError::unsupported));
  EXPECT_EQ(traffic(), Cost(1, 1));
}

TEST_F(MemoryDesktopMessagesTest, readsTheFirstDescendantsOfTheWalkAndNoMore) {
  const AXReadPlan plan{{desktop.element(box)}, {AXAttribute::title}, 1};
  const auto scope = desktop.accessibility().willRead(plan);
  EXPECT_EQ(traffic(), Cost(2, 2));
  EXPECT_TRUE(read(save, AXAttribute::title));
  EXPECT_EQ(traffic(), Cost(0, 0));
  EXPECT_TRUE(read(cancel, AXAttribute::title));
  EXPECT_EQ(traffic(), Cost(1, 1));
}

TEST_F(MemoryDesktopMessagesTest, asksSeveralRootsInTheSameRounds) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  const AXReadPlan plan{
      {desktop.element(box), desktop.element(second), desktop.application(pid)}, {AXAttribute::role}, 0};
  const auto scope = desktop.accessibility().willRead(plan);
  EXPECT_EQ(traffic(), Cost(3, 1));
}

TEST_F(MemoryDesktopMessagesTest, showsThroughAScopeWhatWasThereWhenItWasOpened) {
  auto scope = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::title}, 80});
  desktop.setTitle(save, "Changed");
  EXPECT_EQ(read(save, AXAttribute::title), AXValue(std::string("Save")));
  scope.reset();
  EXPECT_EQ(read(save, AXAttribute::title), AXValue(std::string("Changed")));
}

TEST_F(MemoryDesktopMessagesTest, forgetsAnElementThatIsSetOrActedOn) {
  const AXReadPlan plan{{desktop.element(box)}, {AXAttribute::minimized, AXAttribute::title}, 80};
  const auto scope = desktop.accessibility().willRead(plan);
  EXPECT_TRUE(set(box, AXAttribute::minimized, true));
  EXPECT_EQ(read(box, AXAttribute::minimized), AXValue(true));
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_EQ(read(save, AXAttribute::title), std::unexpected(AXError::invalidElement));
  EXPECT_TRUE(read(cancel, AXAttribute::title));
}

TEST_F(MemoryDesktopMessagesTest, nestsScopesAndAsksTheInnerOneFirst) {
  const auto outer = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::title}, 0});
  desktop.setTitle(box, "Newer");
  {
    const auto inner = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::title}, 0});
    EXPECT_EQ(read(box, AXAttribute::title), AXValue(std::string("Newer")));
  }
  EXPECT_EQ(read(box, AXAttribute::title), AXValue(std::string("Save?")));
}

TEST_F(MemoryDesktopMessagesTest, keepsAScopeToItsOwnThread) {
  std::unique_ptr<AXReadScope> scope;
  scanQueue->post([&] { scope = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::title}, 0}); });
  time.runDue();
  desktop.setTitle(box, "Newer");
  std::vector<AXValue> seen;
  mainQueue->post([&] { seen.push_back(*read(box, AXAttribute::title)); });
  scanQueue->post([&] { seen.push_back(*read(box, AXAttribute::title)); });
  scanQueue->post([&] { scope.reset(); });
  time.runDue();
  EXPECT_EQ(seen, (std::vector<AXValue>{std::string("Newer"), std::string("Save?")}));
}

TEST_F(MemoryDesktopMessagesTest, paysForAHangingApplicationOnceInAScope) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  desktop.setFault(pid, Fault::hang);
  const AXReadPlan plan{
      {desktop.application(pid), desktop.element(box), desktop.element(second)}, {AXAttribute::role}, 80};
  auto scope = desktop.accessibility().willRead(plan);
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
  EXPECT_EQ(read(box, AXAttribute::role), std::unexpected(AXError::cannotComplete));
  EXPECT_EQ(read(save, AXAttribute::title), std::unexpected(AXError::cannotComplete));
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
  EXPECT_EQ(traffic(), Cost(1, 1));
  scope.reset();
  EXPECT_FALSE(read(box, AXAttribute::role));
  EXPECT_DOUBLE_EQ(seconds(), 0.4);
}

TEST_F(MemoryDesktopMessagesTest, paysOnceForAnApplicationThatBeginsToHangInsideAScope) {
  const auto scope = desktop.accessibility().willRead({{desktop.element(box)}, {AXAttribute::title}, 0});
  desktop.setFault(pid, Fault::hang);
  EXPECT_TRUE(read(box, AXAttribute::title));
  EXPECT_FALSE(read(save, AXAttribute::title));
  EXPECT_FALSE(read(cancel, AXAttribute::title));
  EXPECT_DOUBLE_EQ(seconds(), 0.2);
}

}  // namespace
}  // namespace tallyfox::memory
