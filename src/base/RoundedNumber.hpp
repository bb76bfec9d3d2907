#pragma once

#include <cstdint>
#include <string_view>

namespace tallyfox {

/// The double nearest to DIGITS times ten, or two, to the power of EXPONENT, ties to even. `digits` are at least one,
/// decimal or hexadecimal as the name says, and nothing else. What is too large becomes infinite, what is too small
/// zero. No process locale plays a part. Pure.
[[nodiscard]] double roundedDecimal(std::string_view digits, std::int64_t exponentOfTen);
[[nodiscard]] double roundedHexadecimal(std::string_view digits, std::int64_t exponentOfTwo);

}  // namespace tallyfox
