// A Qt program, which dies of questions that other toolkits bear, is read and pressed all the same; built when the
// demonstration's message box is.
#ifdef TALLYFOX_MESSAGE_BOX

#include <gmock/gmock.h>

#include "desktop/AccessibilityFixture.hpp"

namespace tallyfox::testing {
namespace {

using AccessibilityOfQt = AccessibilityFixture;

TEST_F(AccessibilityOfQt, readsAModalMessageBoxOfRichText) {
  const auto box = session.start({TALLYFOX_MESSAGE_BOX, "<p><b>Erase</b> this &amp; that?</p>", "Erase", "Keep it"});
  const auto window = windowOf(*box);
  ASSERT_TRUE(window);
  const auto onScreen = screenWindowOf(box->pid());
  ASSERT_TRUE(onScreen);
  const auto scope = accessibility.willRead(scanPlan({*window}));
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::role), "AXWindow");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::subrole), "AXDialog");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::title), "Sample Editor");
  EXPECT_EQ(helpers.boolAttribute(*window, AXAttribute::modal), true);
  EXPECT_EQ(helpers.frame(*window), onScreen->clientFrame);
  std::vector<std::string> texts;
  for (const AXUIElement& element : elementsOf(*window, ax_role::staticText))
    texts.push_back(helpers.stringAttribute(element, AXAttribute::value).value_or(""));
  EXPECT_THAT(texts, ::testing::Contains("Erase this & that?"));
  for (const AXUIElement& element : buttonsOf(*window)) {
    const auto frame = helpers.frame(element);
    ASSERT_TRUE(frame);
    EXPECT_GE(frame->x, onScreen->clientFrame.x);
    EXPECT_LE(frame->y + frame->height, onScreen->clientFrame.y + onScreen->clientFrame.height);
    const auto hit = accessibility.elementAtPosition({.x = frame->centerX(), .y = frame->centerY()});
    ASSERT_TRUE(hit);
    EXPECT_EQ(helpers.nearestButton(*hit, 8), element);
  }
  EXPECT_TRUE(box->isRunning()) << "reading ended the program";
}

TEST_F(AccessibilityOfQt, pressesTheNamedButtonAndTheProgramEndsWithItsStatus) {
  struct Case {
    std::string label;
    int status;
  };
  for (const Case& one : {Case{"Erase", 0}, Case{"Keep it", 1}}) {
    const auto box = session.start({TALLYFOX_MESSAGE_BOX, "Erase?", "Erase", "Keep it"});
    const auto window = windowOf(*box);
    ASSERT_TRUE(window);
    const auto found = button(*window, one.label);
    ASSERT_TRUE(found);
    EXPECT_TRUE(accessibility.performAction(*found, ax_action::press));
    EXPECT_EQ(box->waitForExit(), one.status) << one.label;
  }
}

TEST_F(AccessibilityOfQt, theDefaultButtonIsTheOneThatReturnPresses) {
  const auto box = session.start({TALLYFOX_MESSAGE_BOX, "Erase?", "Erase", "Keep it"});
  const auto window = windowOf(*box);
  ASSERT_TRUE(window);
  const auto defaultButton = helpers.elementAttribute(*window, AXAttribute::defaultButton);
  ASSERT_TRUE(defaultButton);
  EXPECT_EQ(helpers.label(*defaultButton), "Erase");
  EXPECT_EQ(helpers.elementAttribute(*window, AXAttribute::cancelButton), std::nullopt);
}

}  // namespace
}  // namespace tallyfox::testing

#endif
