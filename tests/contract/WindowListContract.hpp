#pragma once

/// What every window list keeps to: each window as the window server knows it, front to back, whatever its application
/// does.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, WindowListContract, TheBackend), where TheBackend is
/// default-constructible and has
///   WindowList& windowList();
///   void onAnotherThread(const std::function<void()>& work);   returns when it is done
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   int open(const ContractWindow& window);   in an application of its own, named "Contract", in front of what is in
///                                             its layer; returns its number once it is in place
///   std::int32_t process(int window);
///   void raise(int window);
///   void minimize(int window);
///   void restore(int window);
///   void close(int window);
///   void setHanging(int window);              its application no longer answers
/// and, where systems differ,
///   void stopServer();                        ends the window server; absent where no test may
///   bool moveToAnotherSpace(int window);      does nothing and gives false where there is one space only

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"
#include "platform/WindowList.hpp"

namespace tallyfox::contract {

enum class ContractLayer { desktop, normal, panel };

struct ContractWindow {
  std::string title;
  DialogFrame frame = {100, 100, 300, 200};
  ContractLayer layer = ContractLayer::normal;
  double alpha = 1;
};

template <typename Backend>
class WindowListContract : public testing::Test {
 protected:
  using Titles = std::vector<std::string>;

  std::vector<WindowInfo> windows(bool includeAllSpaces) { return backend.windowList().windows(includeAllSpaces); }
  Titles titles(bool includeAllSpaces) {
    Titles found;
    for (const WindowInfo& window : windows(includeAllSpaces))
      found.push_back(window.name.value_or("(none)"));
    return found;
  }
  /// Window managers follow in their own time.
  void expectOnScreen(const Titles& frontToBack) {
    EXPECT_TRUE(backend.waitUntil([&] { return titles(false) == frontToBack; }));
    EXPECT_EQ(titles(false), frontToBack);
  }
  void expectEverywhere(const Titles& expected) {
    EXPECT_TRUE(backend.waitUntil([&] { return std::ranges::is_permutation(titles(true), expected); }));
    EXPECT_THAT(titles(true), testing::UnorderedElementsAreArray(expected));
  }
  std::optional<WindowInfo> window(const std::string& title) {
    for (const WindowInfo& info : windows(false))
      if (info.name == title) return info;
    return std::nullopt;
  }

  Backend backend;
};

TYPED_TEST_SUITE_P(WindowListContract);

TYPED_TEST_P(WindowListContract, isEmptyWithoutWindows) {
  EXPECT_THAT(this->windows(false), testing::IsEmpty());
  EXPECT_THAT(this->windows(true), testing::IsEmpty());
}

TYPED_TEST_P(WindowListContract, describesAWindow) {
  const int opened = this->backend.open({.title = "One"});
  const auto info = this->window("One");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->ownerProcessIdentifier, this->backend.process(opened));
  EXPECT_EQ(info->ownerName, "Contract");
  EXPECT_EQ(info->layer, 0);
  EXPECT_EQ(info->alpha, 1.0);
  EXPECT_EQ(this->windows(true), this->windows(false));
}

TYPED_TEST_P(WindowListContract, givesTheBoundsInPointsOfTheScreen) {
  const DialogFrame frame{120, 140, 300, 200};
  (void)this->backend.open({.title = "One", .frame = frame});
  const auto info = this->window("One");
  ASSERT_TRUE(info && info->bounds);
  // A window manager draws a frame around what the program placed.
  constexpr double atMost = 48;
  EXPECT_NEAR(info->bounds->x, frame.x, atMost);
  EXPECT_NEAR(info->bounds->y, frame.y, atMost);
  EXPECT_GE(info->bounds->width, frame.width);
  EXPECT_LE(info->bounds->width, frame.width + atMost);
  EXPECT_GE(info->bounds->height, frame.height);
  EXPECT_LE(info->bounds->height, frame.height + atMost);
}

TYPED_TEST_P(WindowListContract, lacksTheNameOfAWindowWithoutATitle) {
  const int opened = this->backend.open({.title = ""});
  const auto windows = this->windows(false);
  ASSERT_EQ(windows.size(), 1U);
  EXPECT_EQ(windows.front().ownerProcessIdentifier, this->backend.process(opened));
  EXPECT_EQ(windows.front().name, std::nullopt);
}

TYPED_TEST_P(WindowListContract, tellsHowOpaqueAWindowIs) {
  (void)this->backend.open({.title = "Clear", .alpha = 0});
  (void)this->backend.open({.title = "Half", .alpha = 0.5});
  const auto clear = this->window("Clear");
  const auto half = this->window("Half");
  ASSERT_TRUE(clear && half && clear->alpha && half->alpha);
  EXPECT_EQ(*clear->alpha, 0);
  EXPECT_NEAR(*half->alpha, 0.5, 0.001);
}

TYPED_TEST_P(WindowListContract, goesFrontToBack) {
  const int first = this->backend.open({.title = "First"});
  (void)this->backend.open({.title = "Second"});
  (void)this->backend.open({.title = "Third"});
  this->expectOnScreen({"Third", "Second", "First"});
  this->backend.raise(first);
  this->expectOnScreen({"First", "Third", "Second"});
}

TYPED_TEST_P(WindowListContract, putsHigherLayersFirst) {
  (void)this->backend.open({.title = "Panel", .layer = ContractLayer::panel});
  const int first = this->backend.open({.title = "First"});
  (void)this->backend.open({.title = "Second"});
  (void)this->backend.open({.title = "Desktop", .layer = ContractLayer::desktop});
  this->expectOnScreen({"Panel", "Second", "First", "Desktop"});
  this->backend.raise(first);
  this->expectOnScreen({"Panel", "First", "Second", "Desktop"});
  EXPECT_GT(this->window("Panel").value().layer, 0);
  EXPECT_EQ(this->window("First").value().layer, 0);
  EXPECT_LT(this->window("Desktop").value().layer, 0);
}

TYPED_TEST_P(WindowListContract, hasMinimizedWindowsAmongAllAlone) {
  const int small = this->backend.open({.title = "Small"});
  (void)this->backend.open({.title = "Large"});
  this->backend.minimize(small);
  this->expectOnScreen({"Large"});
  this->expectEverywhere({"Large", "Small"});
  this->backend.restore(small);
  this->expectEverywhere({"Large", "Small"});
  EXPECT_TRUE(this->backend.waitUntil([this] { return this->window("Small").has_value(); }));
}

TYPED_TEST_P(WindowListContract, hasWindowsOfOtherSpacesAmongAllAlone) {
  const int away = this->backend.open({.title = "Away"});
  (void)this->backend.open({.title = "Here"});
  if (this->backend.moveToAnotherSpace(away)) {
    this->expectOnScreen({"Here"});
  } else {
    this->expectOnScreen({"Here", "Away"});
  }
  this->expectEverywhere({"Here", "Away"});
}

TYPED_TEST_P(WindowListContract, forgetsAWindowThatIsClosed) {
  const int first = this->backend.open({.title = "First"});
  (void)this->backend.open({.title = "Second"});
  this->backend.close(first);
  this->expectOnScreen({"Second"});
  this->expectEverywhere({"Second"});
}

TYPED_TEST_P(WindowListContract, asksNoApplication) {
  const int hanging = this->backend.open({.title = "Hanging"});
  this->backend.setHanging(hanging);
  const auto info = this->window("Hanging");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->ownerProcessIdentifier, this->backend.process(hanging));
  EXPECT_EQ(info->ownerName, "Contract");
}

TYPED_TEST_P(WindowListContract, answersAnyThread) {
  (void)this->backend.open({.title = "One"});
  const auto here = this->windows(false);
  ASSERT_EQ(here.size(), 1U);
  this->backend.onAnotherThread([&] { EXPECT_EQ(this->windows(false), here); });
}

TYPED_TEST_P(WindowListContract, isEmptyWhenTheServerIsGone) {
  if constexpr (requires { this->backend.stopServer(); }) {
    (void)this->backend.open({.title = "One"});
    ASSERT_EQ(this->windows(true).size(), 1U);
    this->backend.stopServer();
    EXPECT_THAT(this->windows(false), testing::IsEmpty());
    EXPECT_THAT(this->windows(true), testing::IsEmpty());
  } else {
    GTEST_SKIP() << "No test may end the window server of this system.";
  }
}

REGISTER_TYPED_TEST_SUITE_P(WindowListContract, isEmptyWithoutWindows, describesAWindow,
                            givesTheBoundsInPointsOfTheScreen, lacksTheNameOfAWindowWithoutATitle,
                            tellsHowOpaqueAWindowIs, goesFrontToBack, putsHigherLayersFirst,
                            hasMinimizedWindowsAmongAllAlone, hasWindowsOfOtherSpacesAmongAllAlone,
                            forgetsAWindowThatIsClosed, asksNoApplication, answersAnyThread,
                            isEmptyWhenTheServerIsGone);

}  // namespace tallyfox::contract
