// Shows what the contract of accessibility leaves open, on a real Mac: sheets, default and cancel buttons, disabled
// ones, text fields and deep nests.

#include <gmock/gmock.h>

#include <algorithm>

#include "contract/macos/MacContractDesktop.hpp"
#include "contract/macos/Permission.hpp"
#include "platform/macos/MacAccessibility.hpp"

namespace tallyfox::contract {
namespace {

class MacControlsTest : public MacContractDesktop, public testing::Test {
 protected:
  using Elements = std::vector<AXUIElement>;

  MacControlsTest() { skipWithout(Permission::accessibility); }

  template <typename Value>
  std::optional<Value> read(const AXUIElement& element, AXAttribute attribute) {
    const auto value = accessibility.copyAttribute(element, attribute);
    const Value* held = value ? std::get_if<Value>(&*value) : nullptr;
    return held == nullptr ? std::nullopt : std::optional<Value>(*held);
  }
  std::string text(const AXUIElement& element, AXAttribute attribute) {
    return read<std::string>(element, attribute).value_or("");
  }
  /// Everything below, or the first so many by the bounded walk.
  Elements below(const AXUIElement& root, std::size_t limit = 1000) {
    Elements found;
    Elements stack = read<Elements>(root, AXAttribute::children).value_or(Elements());
    while (!stack.empty() && found.size() < limit) {
      found.push_back(stack.back());
      stack.pop_back();
      for (const AXUIElement& child : read<Elements>(found.back(), AXAttribute::children).value_or(Elements()))
        stack.push_back(child);
    }
    return found;
  }
  std::optional<AXUIElement> find(const AXUIElement& root, std::string_view role, const std::string& title = "") {
    for (const AXUIElement& element : below(root))
      if (text(element, AXAttribute::role) == role && (title.empty() || text(element, AXAttribute::title) == title))
        return element;
    return std::nullopt;
  }
  /// The one window of a program that was told to show it.
  std::optional<AXUIElement> window(StageProcess& stage) {
    settle(stage);
    const auto windows = read<Elements>(accessibility.applicationElement(stage.pid()), AXAttribute::windows);
    return windows && windows->size() == 1 ? std::optional(windows->front()) : std::nullopt;
  }
  std::optional<AXUIElement> controls(StageProcess& stage) {
    stage.ask({"controls"});
    return window(stage);
  }

  mac_os::MacAccessibility accessibility{clock()};
};

TEST_F(MacControlsTest, knowTheDefaultAndTheCancelButtonOfADialog) {
  StageProcess& stage = start();
  stage.ask({"dialog", "panel"});
  const auto dialog = window(stage);
  ASSERT_TRUE(dialog);
  const auto accept = read<AXUIElement>(*dialog, AXAttribute::defaultButton);
  ASSERT_TRUE(accept);
  EXPECT_EQ(text(*accept, AXAttribute::title), "OK");
  EXPECT_EQ(accept, find(*dialog, ax_role::button, "OK"));
  EXPECT_EQ(read<bool>(*dialog, AXAttribute::modal), true);
}

TEST_F(MacControlsTest, bringAPressToThatButtonAlone) {
  StageProcess& stage = start();
  stage.ask({"dialog", "panel"});
  const auto dialog = window(stage);
  ASSERT_TRUE(dialog);
  const auto cancel = find(*dialog, ax_role::button, "Cancel");
  ASSERT_TRUE(cancel);
  EXPECT_TRUE(accessibility.performAction(*cancel, ax_action::press));
  EXPECT_TRUE(waitUntil([&] { return stage.ask({"journal"}) == std::vector<std::string>{"pressed Cancel"}; }));
}

TEST_F(MacControlsTest, haveASheetAmongTheChildrenOfItsWindow) {
  StageProcess& stage = start();
  open(stage, {.title = "Document"});
  const auto document = window(stage);
  ASSERT_TRUE(document);
  stage.ask({"sheet", "0"});
  std::optional<AXUIElement> sheet;
  EXPECT_TRUE(waitUntil([&] { return (sheet = find(*document, ax_role::sheet)).has_value(); }));
  ASSERT_TRUE(sheet);
  const auto save = find(*sheet, ax_role::button, "Save");
  ASSERT_TRUE(save);
  EXPECT_TRUE(accessibility.performAction(*save, ax_action::press));
  EXPECT_TRUE(waitUntil([&] { return !find(*document, ax_role::sheet); }));
  EXPECT_EQ(stage.ask({"journal"}), std::vector<std::string>{"pressed Save"});
}

TEST_F(MacControlsTest, tellADisabledButtonAndDoNotPressIt) {
  StageProcess& stage = start();
  const auto shown = controls(stage);
  ASSERT_TRUE(shown);
  const auto never = find(*shown, ax_role::button, "Never");
  const auto count = find(*shown, ax_role::button, "Count");
  ASSERT_TRUE(never && count);
  EXPECT_EQ(read<bool>(*never, AXAttribute::enabled), false);
  EXPECT_EQ(read<bool>(*count, AXAttribute::enabled), true);
  (void)accessibility.performAction(*never, ax_action::press);
  EXPECT_TRUE(accessibility.performAction(*count, ax_action::press));
  EXPECT_TRUE(waitUntil([&] { return !stage.ask({"journal"}).empty(); }));
  EXPECT_EQ(stage.ask({"journal"}), std::vector<std::string>{"pressed Count"});
}

TEST_F(MacControlsTest, giveTheFocusToATextFieldThatIsAskedToTakeIt) {
  StageProcess& stage = start();
  const auto shown = controls(stage);
  ASSERT_TRUE(shown);
  const auto field = find(*shown, "AXTextField");
  ASSERT_TRUE(field);
  EXPECT_EQ(text(*field, AXAttribute::value), "Typed");
  EXPECT_TRUE(accessibility.setAttribute(*field, AXAttribute::focused, true));
  EXPECT_TRUE(waitUntil([&] { return read<bool>(*field, AXAttribute::focused) == true; }));
}

TEST_F(MacControlsTest, areWalkedToTheBottomOfADeepNestWithAndWithoutAScope) {
  StageProcess& stage = start();
  const auto shown = controls(stage);
  ASSERT_TRUE(shown);
  const auto bottom = find(*shown, ax_role::button, "Bottom");
  ASSERT_TRUE(bottom);
  int levels = 0;
  auto element = read<AXUIElement>(*bottom, AXAttribute::parent);
  while (element && *element != *shown && levels < 1000) {
    ++levels;
    element = read<AXUIElement>(*element, AXAttribute::parent);
  }
  EXPECT_GE(levels, 60);
  for (const std::size_t limit : {10U, 64U, 200U}) {
    const Elements single = below(*shown, limit);
    const auto scope = accessibility.willRead(
        {{*shown}, {AXAttribute::role, AXAttribute::title, AXAttribute::children}, static_cast<int>(limit)});
    EXPECT_EQ(below(*shown, limit), single) << "limit " << limit;
  }
}

}  // namespace
}  // namespace tallyfox::contract
