// A message box that says what it asks in its own description, and shows it in no label, is read like any other; one
// that shows a text is not read twice.

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/DialogProgram.hpp"
#include "desktop/Scanner.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::ElementsAre;

class AccessibilityDescription : public AccessibilityFixture, public ::testing::WithParamInterface<DialogToolkit> {
 protected:
  [[nodiscard]] std::vector<AXUIElement> textsOf(const AXUIElement& window) {
    std::vector<AXUIElement> texts = elementsOf(window, ax_role::staticText);
    // GTK 4 shows the labels of its buttons too.
    std::erase_if(texts, [&](const AXUIElement& text) {
      const auto parent = helpers.elementAttribute(text, AXAttribute::parent);
      return !helpers.stringAttribute(text, AXAttribute::value) || (parent && helpers.role(*parent) == ax_role::button);
    });
    return texts;
  }
};

TEST_P(AccessibilityDescription, isTheMessageOfADialogWithoutAText) {
  DialogProgram program(session, GetParam(), {"Keep=press", "Erase=press", "--described"});
  const auto window = windowOf(program.process());
  ASSERT_TRUE(window);
  const std::vector<AXUIElement> texts = textsOf(*window);
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(helpers.stringAttribute(texts[0], AXAttribute::value), DialogProgram::text);
  EXPECT_TRUE(helpers.elementAttribute(texts[0], AXAttribute::parent) == *window);
  EXPECT_TRUE(helpers.frame(texts[0]) == helpers.frame(*window));
  EXPECT_TRUE(helpers.actionNames(texts[0]).empty());
  EXPECT_FALSE(accessibility.performAction(texts[0], ax_action::press));
  {
    AXReadPlan plan = scanPlan({accessibility.applicationElement(program.pid())});
    plan.attributes.push_back(AXAttribute::windows);
    const auto scope = accessibility.willRead(plan);
    EXPECT_TRUE(textsOf(*window) == texts);
  }

  Scanner scanner(session);
  std::vector<PendingApproval> approvals;
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return !(approvals = scanner.scan()).empty(); }));
  ASSERT_EQ(approvals.size(), 1U);
  EXPECT_THAT(approvals[0].messageLines, ElementsAre(DialogProgram::text));
}

TEST_P(AccessibilityDescription, isNoMessageWhereATextIsShown) {
  DialogProgram program(session, GetParam(), {"Keep=press", "Erase=press"});
  const auto window = windowOf(program.process());
  ASSERT_TRUE(window);
  EXPECT_EQ(textsOf(*window).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Toolkits, AccessibilityDescription, ::testing::ValuesIn(dialogToolkits()),
                         [](const auto& toolkit) { return std::string(name(toolkit.param)); });

}  // namespace
}  // namespace tallyfox::testing
