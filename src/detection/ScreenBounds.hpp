#pragma once

#include <cmath>

#include "base/Limits.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox {

/// Whether a frame told by another program can lie on a screen: every number finite and within limits::screenExtent.
/// All others count as unreadable, so that nothing later has to fear them.
[[nodiscard]] inline bool isWithinScreenBounds(const DialogFrame& frame) {
  const auto isWithin = [](double value) { return std::isfinite(value) && std::abs(value) <= limits::screenExtent; };
  return isWithin(frame.x) && isWithin(frame.y) && isWithin(frame.width) && isWithin(frame.height);
}

}  // namespace tallyfox
