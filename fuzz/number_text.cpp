// Any text as a positive number, held against strtod in the C locale, whose grammar it is.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "app/PositiveNumber.hpp"
#include "base/Bytes.hpp"
#include "base/Require.hpp"

namespace tallyfox {
namespace {

/// The whole text as strtod reads it. The process has never set a locale, so it is the C locale's.
std::optional<double> expected(const std::string& text) {
  if (text.empty() || std::strchr("\t\n\v\f\r ", text.front()) != nullptr) return std::nullopt;
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size() || !(value > 0)) return std::nullopt;
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(textOf({data, size}));
  require(positiveNumber(text) == expected(text), "a number is read as strtod reads it");
  return 0;
}

}  // namespace tallyfox
