#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox {

/// A moment on the wall clock, UTC, microseconds.
using Date = std::chrono::sys_time<std::chrono::microseconds>;
/// Lengths of time as every timing setting gives them.
using Seconds = std::chrono::duration<double>;

inline constexpr std::string_view expectedISO8601Text = "Expected ISO-8601 date string.";

/// 2026-03-14T09:26:53Z: UTC, whole seconds (fractions are dropped toward the past).
[[nodiscard]] std::string formattedISO8601(Date date);

/// The `tallyfoxISO8601` strategy: an internet date-time with fractional seconds, else one without. A zone designator
/// (Z or an offset such as +01:00) is required. Absent for anything else.
[[nodiscard]] std::optional<Date> parsedISO8601(std::string_view text);

}  // namespace tallyfox
