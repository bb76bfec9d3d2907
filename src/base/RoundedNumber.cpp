#include "base/RoundedNumber.hpp"

#include <cstdlib>
#include <string>

namespace tallyfox {
namespace {

/// The C library rounds rightly everywhere, which std::from_chars does not offer everywhere. A locale could only change
/// the decimal point, and the text has none.
double readNumber(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);
}

}  // namespace

double roundedDecimal(std::string_view digits, std::int64_t exponentOfTen) {
  return readNumber(std::string(digits) + "e" + std::to_string(exponentOfTen));
}

double roundedHexadecimal(std::string_view digits, std::int64_t exponentOfTwo) {
  return readNumber("0x" + std::string(digits) + "p" + std::to_string(exponentOfTwo));
}

}  // namespace tallyfox
