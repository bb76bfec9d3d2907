#pragma once

#include <optional>
#include <string_view>

namespace tallyfox {

/// Reads a whole text by the grammar of strtod in the C locale (decimal and hexadecimal floats, "inf", "nan", a sign)
/// and gives it when it is greater than zero; infinity is. The process locale plays no part. Pure.
[[nodiscard]] std::optional<double> positiveNumber(std::string_view text);

}  // namespace tallyfox
