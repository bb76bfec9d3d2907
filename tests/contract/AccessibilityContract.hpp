#pragma once

/// What every accessibility backend keeps to: handles, attributes, the bounded walk, read scopes that show the same as
/// single reads, actions, and faults that cost no more than the time-out.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, AccessibilityContract, TheBackend), where TheBackend is
/// default-constructible and has
///   Accessibility& accessibility();
///   AccessibilityElements& elements();
///   Clock& clock();
///   std::int32_t openDialog();   opens, in an application of its own, a window with the title "Contract dialog", the
///                                text "Proceed with the contract?" and the buttons "Cancel" and "OK", both of which
///                                close it; returns the process once the window is readable and has the focus
///   void setHanging(bool hangs);   whether that application answers
///   void quit();                   ends that application and waits until it is gone
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"

namespace tallyfox::contract {

template <typename Backend>
class AccessibilityContract : public testing::Test {
 protected:
  AccessibilityContract() : pid(backend.openDialog()) {}

  template <typename Value>
  std::optional<Value> read(const AXUIElement& element, AXAttribute attribute) {
    const auto value = backend.elements().copyAttribute(element, attribute);
    if (!value) return std::nullopt;
    const Value* held = std::get_if<Value>(&*value);
    return held == nullptr ? std::nullopt : std::optional<Value>(*held);
  }
  std::string text(const AXUIElement& element, AXAttribute attribute) {
    return read<std::string>(element, attribute).value_or("");
  }
  std::vector<AXUIElement> list(const AXUIElement& element, AXAttribute attribute) {
    return read<std::vector<AXUIElement>>(element, attribute).value_or(std::vector<AXUIElement>());
  }

  AXUIElement application() { return backend.accessibility().applicationElement(pid); }

  std::optional<AXUIElement> dialog() {
    for (const AXUIElement& window : list(application(), AXAttribute::windows))
      if (text(window, AXAttribute::title) == "Contract dialog") return window;
    return std::nullopt;
  }

  /// Depth first, the last child first, at most `limit` descendants.
  std::vector<AXUIElement> walk(const AXUIElement& root, int limit) {
    std::vector<AXUIElement> found;
    std::vector<AXUIElement> stack = list(root, AXAttribute::children);
    while (!stack.empty() && static_cast<int>(found.size()) < limit) {
      found.push_back(stack.back());
      stack.pop_back();
      for (const AXUIElement& child : list(found.back(), AXAttribute::children))
        stack.push_back(child);
    }
    return found;
  }

  std::optional<AXUIElement> button(const std::string& label) {
    const auto window = dialog();
    if (!window) return std::nullopt;
    for (const AXUIElement& element : walk(*window, 120))
      if (text(element, AXAttribute::role) == ax_role::button && text(element, AXAttribute::title) == label)
        return element;
    return std::nullopt;
  }

  Seconds measured(const std::function<void()>& work) {
    const Seconds start = backend.clock().continuous();
    work();
    return backend.clock().continuous() - start;
  }

  Backend backend;
  std::int32_t pid;
};

TYPED_TEST_SUITE_P(AccessibilityContract);

TYPED_TEST_P(AccessibilityContract, isTrustedInTheTestSession) {
  EXPECT_TRUE(this->backend.accessibility().isProcessTrusted());
}

TYPED_TEST_P(AccessibilityContract, listsTheWindowWithItsRoleTitleAndFrame) {
  const auto window = this->dialog();
  ASSERT_TRUE(window);
  EXPECT_EQ(this->text(*window, AXAttribute::role), ax_role::window);
  EXPECT_TRUE((this->template read<AXPoint>(*window, AXAttribute::position)));
  const auto size = this->template read<AXSize>(*window, AXAttribute::size);
  ASSERT_TRUE(size);
  EXPECT_GT(size->width, 0);
  EXPECT_GT(size->height, 0);
}

TYPED_TEST_P(AccessibilityContract, marksTheWindowAsADialog) {
  const auto window = this->dialog();
  ASSERT_TRUE(window);
  EXPECT_EQ(this->text(*window, AXAttribute::subrole), ax_subrole::dialog);
}

TYPED_TEST_P(AccessibilityContract, findsTextAndButtonsByTheWalk) {
  const auto window = this->dialog();
  ASSERT_TRUE(window);
  std::set<std::string> texts;
  for (const AXUIElement& element : this->walk(*window, 120)) {
    if (this->text(element, AXAttribute::role) != ax_role::staticText) continue;
    const std::string value = this->text(element, AXAttribute::value);
    texts.insert(value.empty() ? this->text(element, AXAttribute::title) : value);
  }
  EXPECT_TRUE(texts.contains("Proceed with the contract?"));
  EXPECT_TRUE(this->button("OK"));
  EXPECT_TRUE(this->button("Cancel"));
}

TYPED_TEST_P(AccessibilityContract, givesButtonsAPlaceInsideTheirWindowAndThePressAction) {
  const auto window = this->dialog();
  const auto ok = this->button("OK");
  ASSERT_TRUE(window && ok);
  const auto corner = this->template read<AXPoint>(*window, AXAttribute::position);
  const auto position = this->template read<AXPoint>(*ok, AXAttribute::position);
  const auto size = this->template read<AXSize>(*ok, AXAttribute::size);
  ASSERT_TRUE(corner && position && size);
  EXPECT_GE(position->x, corner->x);
  EXPECT_GE(position->y, corner->y);
  EXPECT_GT(size->width, 0);
  EXPECT_GT(size->height, 0);
  const auto actions = this->backend.elements().copyActionNames(*ok);
  ASSERT_TRUE(actions);
  EXPECT_EQ(std::ranges::count(*actions, ax_action::press), 1);
  EXPECT_NE((this->template read<bool>(*ok, AXAttribute::enabled)), false);
}

TYPED_TEST_P(AccessibilityContract, leadsFromAButtonUpToItsWindow) {
  const auto window = this->dialog();
  auto element = this->button("OK");
  ASSERT_TRUE(window && element);
  int steps = 0;
  while (element && *element != *window && ++steps < 20)
    element = this->template read<AXUIElement>(*element, AXAttribute::parent);
  ASSERT_TRUE(element);
  EXPECT_EQ(*element, *window);
}

TYPED_TEST_P(AccessibilityContract, givesEqualHandlesForOneElement) {
  const auto first = this->button("OK");
  const auto second = this->button("OK");
  const auto other = this->button("Cancel");
  ASSERT_TRUE(first && second && other);
  EXPECT_EQ(*first, *second);
  EXPECT_EQ(first->hash(), second->hash());
  EXPECT_NE(*first, *other);
  EXPECT_EQ(this->application(), this->application());
  EXPECT_NE(this->application(), this->backend.accessibility().systemWideElement());
}

TYPED_TEST_P(AccessibilityContract, knowsTheProcessOfEveryElementButTheSystemWide) {
  const auto ok = this->button("OK");
  ASSERT_TRUE(ok);
  this->backend.setHanging(true);
  EXPECT_LT(this->measured([&] { EXPECT_EQ(this->backend.elements().processIdentifier(*ok), this->pid); }).count(),
            0.1);
  this->backend.setHanging(false);
  EXPECT_EQ(this->backend.elements().processIdentifier(this->application()), this->pid);
  EXPECT_FALSE(this->backend.elements().processIdentifier(this->backend.accessibility().systemWideElement()));
}

TYPED_TEST_P(AccessibilityContract, refusesAttributesAndActionsThatAreNotThere) {
  const auto ok = this->button("OK");
  ASSERT_TRUE(ok);
  EXPECT_FALSE(this->backend.elements().copyAttribute(*ok, AXAttribute::windows));
  EXPECT_FALSE(this->backend.elements().setAttribute(*ok, AXAttribute::role, std::string("AXWindow")));
  EXPECT_FALSE(this->backend.elements().performAction(*ok, "AXNoSuchAction"));
  EXPECT_TRUE(this->button("OK"));
}

TYPED_TEST_P(AccessibilityContract, showsTheSameThroughAReadScopeAsBySingleReads) {
  const auto window = this->dialog();
  ASSERT_TRUE(window);
  const std::vector<AXAttribute> attributes = {AXAttribute::role,    AXAttribute::subrole,  AXAttribute::title,
                                               AXAttribute::value,   AXAttribute::position, AXAttribute::size,
                                               AXAttribute::children};
  const auto everything = [&](int limit) {
    std::vector<std::vector<std::expected<AXValue, AXError>>> readings;
    std::vector<AXUIElement> elements = this->walk(*window, limit);
    elements.insert(elements.begin(), *window);
    for (const AXUIElement& element : elements) {
      readings.emplace_back();
      for (const AXAttribute attribute : attributes)
        readings.back().push_back(this->backend.elements().copyAttribute(element, attribute));
    }
    return readings;
  };
  for (const int limit : {0, 1, 3, 80}) {
    const auto single = everything(limit);
    const auto scope = this->backend.accessibility().willRead({{*window}, attributes, limit});
    EXPECT_EQ(everything(limit), single) << "limit " << limit;
    EXPECT_EQ(everything(80).size(), this->walk(*window, 80).size() + 1);
  }
}

TYPED_TEST_P(AccessibilityContract, answersReadsOutsideThePlanOfAScope) {
  const auto window = this->dialog();
  const auto ok = this->button("OK");
  ASSERT_TRUE(window && ok);
  const auto outer = this->backend.accessibility().willRead({{*window}, {AXAttribute::role}, 0});
  const auto inner = this->backend.accessibility().willRead({{this->application()}, {AXAttribute::windows}, 0});
  EXPECT_EQ(this->text(*window, AXAttribute::title), "Contract dialog");
  EXPECT_EQ(this->text(*ok, AXAttribute::title), "OK");
}

TYPED_TEST_P(AccessibilityContract, answersTheSystemWideFocus) {
  const auto window = this->dialog();
  ASSERT_TRUE(window);
  const AXUIElement systemWide = this->backend.accessibility().systemWideElement();
  EXPECT_TRUE(this->backend.waitUntil(
      [&] { return this->template read<AXUIElement>(systemWide, AXAttribute::focusedWindow) == window; }));
  const auto focused = this->template read<AXUIElement>(systemWide, AXAttribute::focusedUIElement);
  ASSERT_TRUE(focused);
  EXPECT_EQ(this->backend.elements().processIdentifier(*focused), this->pid);
}

TYPED_TEST_P(AccessibilityContract, findsTheButtonUnderAPoint) {
  const auto ok = this->button("OK");
  ASSERT_TRUE(ok);
  const auto position = this->template read<AXPoint>(*ok, AXAttribute::position);
  const auto size = this->template read<AXSize>(*ok, AXAttribute::size);
  ASSERT_TRUE(position && size);
  const AXPoint center{position->x + size->width / 2, position->y + size->height / 2};
  const auto hit = this->backend.accessibility().elementAtPosition(center);
  ASSERT_TRUE(hit);
  std::optional<AXUIElement> element = *hit;
  for (int step = 0; step < 8 && element && *element != *ok; ++step)
    element = this->template read<AXUIElement>(*element, AXAttribute::parent);
  ASSERT_TRUE(element);
  EXPECT_EQ(*element, *ok);
}

TYPED_TEST_P(AccessibilityContract, pressesAButtonAndLosesTheWindow) {
  const auto window = this->dialog();
  const auto ok = this->button("OK");
  ASSERT_TRUE(window && ok);
  EXPECT_TRUE(this->backend.elements().performAction(*ok, ax_action::press));
  EXPECT_TRUE(this->backend.waitUntil([&] { return !this->dialog(); }));
  EXPECT_FALSE(this->backend.elements().copyAttribute(*ok, AXAttribute::role));
  EXPECT_FALSE(this->backend.elements().copyAttribute(*window, AXAttribute::role));
  EXPECT_FALSE(this->backend.elements().performAction(*ok, ax_action::press));
}

TYPED_TEST_P(AccessibilityContract, readsNothingOfAProcessThatIsGone) {
  const auto ok = this->button("OK");
  ASSERT_TRUE(ok);
  this->backend.quit();
  // Gone, not silent: whoever pressed a button takes the one for the end of the dialog, never the other.
  EXPECT_EQ(this->backend.elements().copyAttribute(this->application(), AXAttribute::windows),
            std::unexpected(AXError::invalidElement));
  EXPECT_EQ(this->backend.elements().copyAttribute(*ok, AXAttribute::role), std::unexpected(AXError::invalidElement));
  EXPECT_EQ(this->backend.elements().copyActionNames(*ok), std::unexpected(AXError::invalidElement));
}

TYPED_TEST_P(AccessibilityContract, waitsForAHangingApplicationNoLongerThanTheTimeout) {
  const AXUIElement application = this->application();
  this->backend.setHanging(true);
  this->backend.elements().setMessagingTimeout(application, Seconds{0.2});
  const Seconds cost = this->measured([&] {
    EXPECT_EQ(this->backend.elements().copyAttribute(application, AXAttribute::windows),
              std::unexpected(AXError::cannotComplete));
  });
  EXPECT_LT(cost.count(), 0.3);
  this->backend.setHanging(false);
  EXPECT_TRUE(this->backend.waitUntil([&] { return this->dialog().has_value(); }));
}

TYPED_TEST_P(AccessibilityContract, waitsForAHangingApplicationOnceInAReadScope) {
  const auto window = this->dialog();
  const auto ok = this->button("OK");
  ASSERT_TRUE(window && ok);
  this->backend.setHanging(true);
  const Seconds cost = this->measured([&] {
    const auto scope = this->backend.accessibility().willRead(
        {{this->application(), *window, *ok}, {AXAttribute::role, AXAttribute::windows}, 80});
    for (int reading = 0; reading < 20; ++reading) {
      EXPECT_FALSE(this->backend.elements().copyAttribute(*window, AXAttribute::role));
      EXPECT_FALSE(this->backend.elements().copyAttribute(*ok, AXAttribute::title));
    }
  });
  EXPECT_LT(cost.count(), 0.4);
  this->backend.setHanging(false);
}

REGISTER_TYPED_TEST_SUITE_P(AccessibilityContract, isTrustedInTheTestSession, listsTheWindowWithItsRoleTitleAndFrame,
                            marksTheWindowAsADialog, findsTextAndButtonsByTheWalk,
                            givesButtonsAPlaceInsideTheirWindowAndThePressAction, leadsFromAButtonUpToItsWindow,
                            givesEqualHandlesForOneElement, knowsTheProcessOfEveryElementButTheSystemWide,
                            refusesAttributesAndActionsThatAreNotThere, showsTheSameThroughAReadScopeAsBySingleReads,
                            answersReadsOutsideThePlanOfAScope, answersTheSystemWideFocus, findsTheButtonUnderAPoint,
                            pressesAButtonAndLosesTheWindow, readsNothingOfAProcessThatIsGone,
                            waitsForAHangingApplicationNoLongerThanTheTimeout,
                            waitsForAHangingApplicationOnceInAReadScope);

}  // namespace tallyfox::contract
