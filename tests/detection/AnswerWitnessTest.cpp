// Who did not answer is noted, who answered that there is nothing is not, and every call goes through as it is.

#include "detection/AnswerWitness.hpp"

#include <gtest/gtest.h>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

class AnswerWitnessTest : public testing::Test {
 protected:
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  std::int32_t pid = desktop.launch("Notes");
  memory::ElementID window = desktop.openWindow(pid, memory::messageBox("Notes", {"Sure?"}, {"OK"}));
  memory::ElementID button = desktop.find(window, "AXButton", "OK");
  AnswerWitness witness{desktop.elements()};
};

TEST_F(AnswerWitnessTest, passesEveryCallOn) {
  EXPECT_EQ(witness.copyAttribute(desktop.element(button), AXAttribute::title), AXValue("OK"));
  EXPECT_EQ(witness.copyActionNames(desktop.element(button)), std::vector<std::string>{"AXPress"});
  EXPECT_EQ(witness.processIdentifier(desktop.element(button)), pid);
  EXPECT_TRUE(witness.setAttribute(desktop.element(window), AXAttribute::main, true).has_value());
  EXPECT_TRUE(witness.performAction(desktop.element(button), ax_action::press).has_value());
  EXPECT_FALSE(desktop.exists(window));
  EXPECT_FALSE(witness.missedAnswers());
}

TEST_F(AnswerWitnessTest, takesNothingForAnAnswer) {
  EXPECT_FALSE(witness.copyAttribute(desktop.element(button), AXAttribute::minimized).has_value());
  const AXUIElement gone = desktop.element(button);
  desktop.closeWindow(window);
  EXPECT_EQ(witness.copyAttribute(gone, AXAttribute::role), std::unexpected(AXError::invalidElement));
  EXPECT_FALSE(witness.missedAnswers());
}

TEST_F(AnswerWitnessTest, notesWhoDidNotAnswerInTime) {
  const auto other = desktop.launch("Editor");
  desktop.setFault(pid, memory::Fault::hang);
  EXPECT_FALSE(witness.copyActionNames(desktop.element(button)).has_value());
  EXPECT_TRUE(witness.missedAnswersOf(pid));
  EXPECT_FALSE(witness.missedAnswersOf(other));
  EXPECT_TRUE(witness.missedAnswers());
}

TEST_F(AnswerWitnessTest, notesWhoIsNotToBeAsked) {
  desktop.setTrusted(false);
  EXPECT_FALSE(witness.copyAttribute(desktop.element(button), AXAttribute::role).has_value());
  EXPECT_TRUE(witness.missedAnswersOf(pid));
}

TEST_F(AnswerWitnessTest, waitsAsLongAsItIsTold) {
  desktop.setFault(pid, memory::Fault::hang);
  witness.setMessagingTimeout(desktop.application(pid), Seconds(1.5));
  const Seconds before = world.time.clock().continuous();
  EXPECT_FALSE(witness.copyAttribute(desktop.element(button), AXAttribute::role).has_value());
  EXPECT_EQ(world.time.clock().continuous() - before, Seconds(1.5));
}

}  // namespace
}  // namespace tallyfox
