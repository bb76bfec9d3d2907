#pragma once

#include <optional>

#include "base/Date.hpp"

namespace tallyfox {

/// Days and hours as the owner counts them, not as multiples of 24 hours: a day on which the clocks change is shorter
/// or longer. Any thread.
class Calendar {
 public:
  virtual ~Calendar() = default;
  /// The same time of day, so many calendar days on; absent when it cannot be computed. Where the clock skips that
  /// time of day it is the first moment behind the gap.
  [[nodiscard]] virtual std::optional<Date> addingDays(Date date, int days) const = 0;
  /// The first moment of the calendar day that `date` lies in; not midnight where the clock skips midnight.
  [[nodiscard]] virtual Date startOfDay(Date date) const = 0;
  /// When the clock first shows `hour` (0 to 23) on the calendar day that `date` lies in, or the first moment after it
  /// where the clock skips it; absent when it cannot be computed.
  [[nodiscard]] virtual std::optional<Date> settingHour(int hour, Date date) const = 0;
};

}  // namespace tallyfox
