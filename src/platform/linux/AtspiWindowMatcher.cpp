#include "platform/linux/AtspiWindowMatcher.hpp"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace tallyfox::linux_os {
namespace {

/// Toolkits and the server round differently, and borders are 1 or 2 wide.
constexpr double tolerance = 2;

// A place is the strongest sign: two windows with one title are common, two in one place are not.
constexpr int placeScore = 12;
constexpr int titleScore = 6;
constexpr int sizeScore = 4;
constexpr int hintScore = 1;
/// Hints alone, which any two windows may share, match nobody.
constexpr int leastScore = 3 * hintScore + 1;

bool isNear(double a, double b) {
  return std::abs(a - b) <= tolerance;
}

bool hasPlace(const AtspiExtents& extents, const DialogFrame& frame) {
  return isNear(extents.x, frame.x) && isNear(extents.y, frame.y) && isNear(extents.width, frame.width) &&
         isNear(extents.height, frame.height);
}

bool hasSize(const AtspiExtents& extents, const DialogFrame& frame) {
  return isNear(extents.width, frame.width) && isNear(extents.height, frame.height);
}

int score(const AtspiWindowTraits& window, const XWindow& screen, std::optional<XWindowID> active) {
  int score = 0;
  if (!window.name.empty() && window.name == screen.title) score += titleScore;
  if (window.extents) {
    if (hasPlace(*window.extents, screen.clientFrame) || hasPlace(*window.extents, screen.visibleFrame)) {
      score += placeScore;
    } else if (hasSize(*window.extents, screen.clientFrame) || hasSize(*window.extents, screen.visibleFrame)) {
      score += sizeScore;
    }
  }
  if (window.isDialog == screen.isDialogType) score += hintScore;
  if (window.isModal == screen.isModal) score += hintScore;
  if (window.isActive && screen.id == active) score += hintScore;
  return score;
}

struct Pair {
  int score = 0;
  std::size_t window = 0;
  std::size_t screen = 0;
};

}  // namespace

std::vector<std::optional<std::size_t>> matchedWindows(const std::vector<AtspiWindowTraits>& windows,
                                                       const std::vector<XWindow>& screenWindows,
                                                       std::optional<XWindowID> activeWindow) {
  std::vector<std::optional<std::size_t>> matches(windows.size());
  std::vector<bool> isUsed(screenWindows.size());
  std::vector<Pair> pairs;
  for (std::size_t window = 0; window < windows.size(); ++window) {
    for (std::size_t screen = 0; screen < screenWindows.size(); ++screen) {
      const int points = score(windows[window], screenWindows[screen], activeWindow);
      if (points >= leastScore) pairs.push_back({.score = points, .window = window, .screen = screen});
    }
  }
  // Programs number their windows, and name them to accessibility, in the order in which they open them.
  std::ranges::sort(pairs, {}, [&screenWindows](const Pair& pair) {
    return std::tuple(-pair.score, pair.window, screenWindows[pair.screen].id);
  });
  for (const Pair& pair : pairs) {
    if (matches[pair.window] || isUsed[pair.screen]) continue;
    matches[pair.window] = pair.screen;
    isUsed[pair.screen] = true;
  }
  const auto isMatched = [](const auto& match) { return match.has_value(); };
  if (std::ranges::count(matches, false, isMatched) == 1 && std::ranges::count(isUsed, false) == 1) {
    *std::ranges::find(matches, false, isMatched) =
        static_cast<std::size_t>(std::ranges::find(isUsed, false) - isUsed.begin());
  }
  return matches;
}

std::vector<bool> certainMatches(const std::vector<AtspiWindowTraits>& windows,
                                 const std::vector<XWindow>& screenWindows, std::optional<XWindowID> activeWindow,
                                 const std::vector<std::optional<std::size_t>>& matches) {
  const auto fit = [&](std::size_t window, std::optional<std::size_t> screen) {
    return screen ? score(windows[window], screenWindows[*screen], activeWindow) : 0;
  };
  std::vector<bool> isUsed(screenWindows.size());
  for (const auto& match : matches)
    if (match) isUsed[*match] = true;
  std::vector<bool> certain(matches.size());
  for (std::size_t window = 0; window < windows.size(); ++window) {
    if (!matches[window]) continue;
    bool isBest = true;
    for (std::size_t other = 0; other < windows.size(); ++other) {
      if (other == window) continue;
      const int asTheyAre = fit(window, matches[window]) + fit(other, matches[other]);
      isBest &= fit(window, matches[other]) + fit(other, matches[window]) < asTheyAre;
    }
    for (std::size_t screen = 0; screen < screenWindows.size(); ++screen)
      isBest &= isUsed[screen] || fit(window, screen) < fit(window, matches[window]);
    certain[window] = isBest;
  }
  return certain;
}

}  // namespace tallyfox::linux_os
