#pragma once

#include <chrono>
#include <cmath>
#include <optional>

#include "base/Date.hpp"

namespace tallyfox::mac_os {

/// The system keeps dates as seconds since this moment.
inline constexpr std::chrono::sys_seconds referenceDate = std::chrono::sys_days{std::chrono::January / 1 / 2001};

/// Microseconds survive within some hundred years of the reference date.
[[nodiscard]] inline double referenceSeconds(Date date) {
  // Cut towards zero, and of the whole seconds first: both are in range for every Date, and the sum is rounded once.
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch());
  const auto fraction = date.time_since_epoch() % std::chrono::seconds(1);
  return static_cast<double>((whole - referenceDate.time_since_epoch()).count()) + Seconds(fraction).count();
}

/// To the nearest microsecond; absent where Date does not reach, and for what is no number.
[[nodiscard]] inline std::optional<Date> dateFromReferenceSeconds(double seconds) {
  constexpr double wellWithinDate = 9e12;
  if (!(std::abs(seconds) <= wellWithinDate)) return std::nullopt;
  return referenceDate + std::chrono::microseconds(std::llround(seconds * 1e6));
}

}  // namespace tallyfox::mac_os
