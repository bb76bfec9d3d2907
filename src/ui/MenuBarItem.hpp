#pragma once

#include <cstdint>

namespace tallyfox {

/// The length of the item in the menu bar, in points: wider while approvals are pending, to make room for the dot.
[[nodiscard]] constexpr double menuBarItemLength(std::int64_t pendingCount) {
  constexpr double plain = 24;
  constexpr double withDot = 30;
  return pendingCount < 1 ? plain : withDot;
}

}  // namespace tallyfox
