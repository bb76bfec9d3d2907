// Any text as a date: what parses is written as a date that parses to the same second.

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "base/Bytes.hpp"
#include "base/Date.hpp"
#include "base/Require.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto date = tallyfox::parsedISO8601(tallyfox::textOf({data, size}));
  if (!date) return 0;
  const auto again = tallyfox::parsedISO8601(tallyfox::formattedISO8601(*date));
  if (again)
    tallyfox::require(*again == std::chrono::floor<std::chrono::seconds>(*date), "a written date reads as itself");
  return 0;
}
