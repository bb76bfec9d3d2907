// Which accessible window is which window of the X server, when a process has several.

#include "platform/linux/AtspiWindowMatcher.hpp"

#include <gtest/gtest.h>

namespace tallyfox::linux_os {
namespace {

using Matches = std::vector<std::optional<std::size_t>>;

AtspiWindowTraits traits(std::string name, std::optional<AtspiExtents> extents, bool isDialog = false) {
  AtspiWindowTraits window;
  window.name = std::move(name);
  window.extents = extents;
  window.isDialog = isDialog;
  return window;
}

XWindow screenWindow(XWindowID id, std::string title, DialogFrame client, bool isDialog = false) {
  XWindow window;
  window.id = id;
  window.title = std::move(title);
  window.clientFrame = client;
  window.visibleFrame = {client.x - 1, client.y - 20, client.width + 2, client.height + 24};
  window.isDialogType = isDialog;
  return window;
}

TEST(AtspiWindowMatcher, twoWindowsWithOneTitleAreToldApartByPlace) {
  const std::vector<XWindow> screen = {screenWindow(1, "Document", {100, 100, 400, 300}),
                                       screenWindow(2, "Document", {600, 100, 400, 300})};
  EXPECT_EQ(matchedWindows({traits("Document", AtspiExtents{600, 100, 400, 300}),
                            traits("Document", AtspiExtents{100, 100, 400, 300})},
                           screen, std::nullopt),
            (Matches{1, 0}));
}

TEST(AtspiWindowMatcher, extentsWithTheManagersFrameAreAPlaceToo) {
  const std::vector<XWindow> screen = {screenWindow(1, "", {100, 100, 400, 300}),
                                       screenWindow(2, "", {101, 160, 300, 100}, true)};
  EXPECT_EQ(matchedWindows({traits("Question", AtspiExtents{100, 140, 302, 124}, true),
                            traits("Main", AtspiExtents{99, 80, 402, 324})},
                           screen, std::nullopt),
            (Matches{1, 0}));
}

TEST(AtspiWindowMatcher, withoutAPlaceTheTitleTells) {
  const std::vector<XWindow> screen = {screenWindow(1, "Main", {100, 100, 400, 300}),
                                       screenWindow(2, "Save?", {150, 150, 200, 100})};
  EXPECT_EQ(matchedWindows({traits("Save?", std::nullopt), traits("Main", std::nullopt)}, screen, std::nullopt),
            (Matches{1, 0}));
}

TEST(AtspiWindowMatcher, extentsRelativeToTheWindowTellBySize) {
  const std::vector<XWindow> screen = {screenWindow(1, "Same", {100, 100, 400, 300}),
                                       screenWindow(2, "Same", {150, 150, 200, 100})};
  EXPECT_EQ(matchedWindows({traits("Same", AtspiExtents{0, 0, 200, 100}), traits("Same", AtspiExtents{0, 0, 400, 300})},
                           screen, std::nullopt),
            (Matches{1, 0}));
}

TEST(AtspiWindowMatcher, theOnlyOnesLeftAreAPair) {
  EXPECT_EQ(matchedWindows({traits("Question", std::nullopt, true)}, {screenWindow(1, "", {1, 2, 3, 4})}, std::nullopt),
            (Matches{0}));
  EXPECT_EQ(matchedWindows({traits("A", std::nullopt), traits("B", std::nullopt)},
                           {screenWindow(1, "B", {1, 2, 3, 4}), screenWindow(2, "", {5, 6, 7, 8})}, std::nullopt),
            (Matches{1, 0}));
}

TEST(AtspiWindowMatcher, withNothingInCommonNobodyIsMatched) {
  EXPECT_EQ(
      matchedWindows({traits("A", AtspiExtents{0, 0, 9, 9}), traits("B", std::nullopt)},
                     {screenWindow(1, "C", {100, 100, 400, 300}), screenWindow(2, "D", {5, 6, 70, 80})}, std::nullopt),
      (Matches{std::nullopt, std::nullopt}));
  EXPECT_EQ(matchedWindows({traits("A", std::nullopt)}, {}, std::nullopt), (Matches{std::nullopt}));
  EXPECT_EQ(matchedWindows({}, {screenWindow(1, "A", {1, 2, 3, 4})}, std::nullopt), Matches());
}

TEST(AtspiWindowMatcher, eachWindowOfTheServerIsUsedOnce) {
  EXPECT_EQ(matchedWindows({traits("A", AtspiExtents{1, 2, 30, 40}), traits("A", AtspiExtents{1, 2, 30, 40})},
                           {screenWindow(1, "A", {1, 2, 30, 40})}, std::nullopt),
            (Matches{0, std::nullopt}));
}

TEST(AtspiWindowMatcher, ofWindowsThatLookAlikeTheOlderGetsTheOlder) {
  const std::vector<XWindow> screen = {screenWindow(8, "Same", {150, 150, 400, 300}),
                                       screenWindow(7, "Same", {100, 100, 400, 300})};
  const std::vector<AtspiWindowTraits> windows = {traits("Same", AtspiExtents{0, 0, 400, 300}),
                                                  traits("Same", AtspiExtents{0, 0, 400, 300})};
  EXPECT_EQ(matchedWindows(windows, screen, std::nullopt), (Matches{1, 0}));
}

std::vector<bool> certain(const std::vector<AtspiWindowTraits>& windows, const std::vector<XWindow>& screen,
                          std::optional<XWindowID> active = std::nullopt) {
  return certainMatches(windows, screen, active, matchedWindows(windows, screen, active));
}

TEST(AtspiWindowMatcher, isCertainOfWindowsThatDiffer) {
  const std::vector<XWindow> screen = {screenWindow(1, "Same", {100, 100, 400, 300}),
                                       screenWindow(2, "Same", {150, 150, 200, 100})};
  EXPECT_EQ(
      certain({traits("Same", AtspiExtents{0, 0, 200, 100}), traits("Same", AtspiExtents{0, 0, 400, 300})}, screen),
      (std::vector{true, true}));
  EXPECT_EQ(certain({traits("Other", std::nullopt)}, {screen.front()}), (std::vector{true}));
}

TEST(AtspiWindowMatcher, isNotCertainOfWindowsThatLookAlike) {
  const std::vector<XWindow> screen = {screenWindow(1, "Same", {100, 100, 400, 300}),
                                       screenWindow(2, "Same", {150, 150, 400, 300}),
                                       screenWindow(3, "Other", {0, 0, 40, 30})};
  const auto same = traits("Same", AtspiExtents{0, 0, 400, 300});
  EXPECT_EQ(certain({same, traits("Other", AtspiExtents{0, 0, 40, 30}), same}, screen),
            (std::vector{false, true, false}));
  // One that accessibility does not know may be meant too, and one that the screen does not.
  EXPECT_EQ(certain({same}, {screen[0], screen[1]}), (std::vector{false}));
  EXPECT_EQ(certain({same, same}, {screen[0]}), (std::vector{false, false}));
}

TEST(AtspiWindowMatcher, theActiveOfTwoThatLookAlikeInOnePlaceIsCertain) {
  const std::vector<XWindow> screen = {screenWindow(1, "Same", {100, 100, 400, 300}),
                                       screenWindow(2, "Same", {100, 100, 400, 300})};
  auto active = traits("Same", AtspiExtents{100, 100, 400, 300});
  active.isActive = true;
  EXPECT_EQ(certain({traits("Same", AtspiExtents{100, 100, 400, 300}), active}, screen, 2), (std::vector{true, true}));
}

}  // namespace
}  // namespace tallyfox::linux_os
