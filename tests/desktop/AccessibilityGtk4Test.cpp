// A GTK 4 program, which names its buttons twice, places everything within its window, shows nothing and enables
// nothing, is read as others are.

#include <gmock/gmock.h>

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/DialogProgram.hpp"

namespace tallyfox::testing {
namespace {

class AccessibilityOfGtk4 : public AccessibilityFixture {
 protected:
  [[nodiscard]] std::vector<std::string> textsOf(const AXUIElement& window) {
    std::vector<std::string> texts;
    for (const AXUIElement& element : elementsOf(window, ax_role::staticText))
      texts.push_back(helpers.stringAttribute(element, AXAttribute::value).value_or(""));
    return texts;
  }
};

TEST_F(AccessibilityOfGtk4, readsADialogInItsPlace) {
  DialogProgram program(session, DialogToolkit::gtk4, {"Cancel=press", "Erase=press"});
  const auto window = windowOf(program.process());
  ASSERT_TRUE(window);
  const auto onScreen = screenWindowOf(program.pid());
  ASSERT_TRUE(onScreen);
  const DialogFrame& client = onScreen->clientFrame;
  EXPECT_GT(client.y, 0) << "a place that differs from the window's own";

  const auto scope = accessibility.willRead(scanPlan({*window}));
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::role), "AXWindow");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::subrole), "AXDialog");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::title), DialogProgram::title);
  EXPECT_EQ(helpers.boolAttribute(*window, AXAttribute::modal), true);
  EXPECT_EQ(helpers.frame(*window), client);
  EXPECT_THAT(textsOf(*window), ::testing::Contains(DialogProgram::text));

  std::vector<std::string> labels;
  for (const AXUIElement& element : buttonsOf(*window)) {
    labels.push_back(helpers.label(element).value_or(""));
    EXPECT_EQ(helpers.boolAttribute(element, AXAttribute::enabled), true);
    EXPECT_THAT(helpers.actionNames(element), ::testing::ElementsAre("AXPress"));
    const auto frame = helpers.frame(element);
    ASSERT_TRUE(frame);
    EXPECT_GE(frame->x, client.x);
    EXPECT_GE(frame->y, client.y);
    EXPECT_LE(frame->x + frame->width, client.x + client.width);
    EXPECT_LE(frame->y + frame->height, client.y + client.height);
    const auto hit = accessibility.elementAtPosition({.x = frame->centerX(), .y = frame->centerY()});
    ASSERT_TRUE(hit);
    EXPECT_EQ(helpers.nearestButton(*hit, 8), element);
  }
  EXPECT_THAT(labels, ::testing::UnorderedElementsAre("Cancel", "Erase"));
}

TEST_F(AccessibilityOfGtk4, aDisabledButtonIsNotEnabled) {
  DialogProgram program(session, DialogToolkit::gtk4, {"Cancel=press", "Erase=press"});
  const auto window = windowOf(program.process());
  ASSERT_TRUE(window);
  program.tell("disable Erase");
  const auto erase = button(*window, "Erase");
  const auto cancel = button(*window, "Cancel");
  ASSERT_TRUE(erase && cancel);
  EXPECT_EQ(helpers.boolAttribute(*erase, AXAttribute::enabled), false);
  EXPECT_EQ(helpers.boolAttribute(*cancel, AXAttribute::enabled), true);
}

TEST_F(AccessibilityOfGtk4, theDefaultButtonIsTheOneWithTheFocus) {
  DialogProgram program(session, DialogToolkit::gtk4, {"Cancel=press", "Erase=press", "--default=Erase"});
  const auto window = windowOf(program.process());
  ASSERT_TRUE(window);
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    const auto found = helpers.elementAttribute(*window, AXAttribute::defaultButton);
    return found && helpers.label(*found) == "Erase";
  }));
  EXPECT_EQ(helpers.elementAttribute(*window, AXAttribute::cancelButton), std::nullopt);
}

}  // namespace
}  // namespace tallyfox::testing
