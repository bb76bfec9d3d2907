#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Date.hpp"

namespace tallyfox {

/// Sun, 22 Nov 2026 01:31:02 GMT: as HTTP's Date header has it, whole seconds (fractions are dropped toward the past).
[[nodiscard]] std::string formattedHttpDate(Date date);
/// Reads that form alone; the older ones that HTTP once allowed are no longer sent. The day of the week must be right.
[[nodiscard]] std::optional<Date> parsedHttpDate(std::string_view text);

}  // namespace tallyfox
