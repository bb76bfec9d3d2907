#pragma once

#include <optional>

#include "base/Date.hpp"

namespace tallyfox {

/// Whether alerts are paused, and until when.
struct NotificationPauseSnapshot {
  std::optional<Date> pausedUntil;  ///< the end of a timed pause
  bool pausesIndefinitely = false;

  bool operator==(const NotificationPauseSnapshot&) const = default;
  [[nodiscard]] bool isPaused() const { return pausesIndefinitely || pausedUntil.has_value(); }
};

}  // namespace tallyfox
