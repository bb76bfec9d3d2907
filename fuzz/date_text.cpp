// Any text as a date: what is read can be written and reads as the same second, and a text in the written form is
// written as it was read.

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "base/Bytes.hpp"
#include "base/Date.hpp"
#include "base/Require.hpp"

namespace tallyfox {
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf({data, size});
  const auto date = parsedISO8601(text);
  if (!date) return 0;
  const std::string written = formattedISO8601(*date);
  require(written.size() == 20, "a date is written in twenty characters");
  const auto again = parsedISO8601(written);
  require(again.has_value(), "a written date reads");
  require(*again == std::chrono::floor<std::chrono::seconds>(*date), "a written date reads as the same second");
  require(formattedISO8601(*again) == written, "a second is always written alike");
  if (text.size() == 20) require(text == written, "a text in the written form is written as it was read");
  return 0;
}

}  // namespace tallyfox
