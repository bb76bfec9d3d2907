#include "app/PositiveNumber.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "base/RoundedNumber.hpp"

namespace tallyfox {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
/// Beyond every exponent that a double can have, even behind a text's worth of leading or trailing zeros.
constexpr std::int64_t exponentCeiling = 1'000'000'000'000;

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
bool isDecimalDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isHexDigit(char c) {
  return isDecimalDigit(c) || (lowered(c) >= 'a' && lowered(c) <= 'f');
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  return std::ranges::equal(text, lowerCase, {}, lowered);
}

/// One of the two digit systems that the grammar knows.
struct Notation {
  bool (*isDigit)(char);
  char exponentMark;
  std::int64_t exponentStepsPerDigit;
  double (*rounded)(std::string_view digits, std::int64_t exponent);
};
constexpr Notation decimal{isDecimalDigit, 'e', 1, roundedDecimal};
constexpr Notation hexadecimal{isHexDigit, 'p', 4, roundedHexadecimal};

std::string_view takenDigits(std::string_view& rest, bool (*isDigit)(char)) {
  const auto end = std::ranges::find_if_not(rest, isDigit);
  const auto digits = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  rest.remove_prefix(digits.size());
  return digits;
}

/// What follows the exponent mark; absent when it is no integer.
std::optional<std::int64_t> takenExponent(std::string_view& rest) {
  const bool isNegative = rest.starts_with('-');
  if (isNegative || rest.starts_with('+')) rest.remove_prefix(1);
  const std::string_view digits = takenDigits(rest, isDecimalDigit);
  if (digits.empty()) return std::nullopt;
  std::int64_t value = 0;
  for (const char c : digits)
    value = std::min(value * 10 + (c - '0'), exponentCeiling);
  return isNegative ? -value : value;
}

/// The number that a text says; absent when the text breaks the grammar.
std::optional<double> unsignedNumber(std::string_view text, const Notation& notation) {
  std::string_view rest = text;
  std::string digits(takenDigits(rest, notation.isDigit));
  std::int64_t exponent = 0;
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    const std::string_view fraction = takenDigits(rest, notation.isDigit);
    digits += fraction;
    exponent = -static_cast<std::int64_t>(fraction.size()) * notation.exponentStepsPerDigit;
  }
  if (digits.empty()) return std::nullopt;
  if (!rest.empty() && lowered(rest.front()) == notation.exponentMark) {
    rest.remove_prefix(1);
    const auto taken = takenExponent(rest);
    if (!taken) return std::nullopt;
    exponent += *taken;
  }
  if (!rest.empty()) return std::nullopt;
  return notation.rounded(digits, exponent);
}

}  // namespace

std::optional<double> positiveNumber(std::string_view text) {
  // Neither a NaN nor anything with a minus sign is positive, however it goes on: they need not be told from rubbish.
  if (text.starts_with('+')) text.remove_prefix(1);
  if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity")) return infinity;
  const bool isHexadecimal = text.size() > 2 && text[0] == '0' && lowered(text[1]) == 'x';
  const auto value = isHexadecimal ? unsignedNumber(text.substr(2), hexadecimal) : unsignedNumber(text, decimal);
  return value && *value > 0 ? value : std::nullopt;
}

}  // namespace tallyfox
