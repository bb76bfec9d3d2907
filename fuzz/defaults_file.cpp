// Any bytes as the file of preferences: what is read is written as a file that reads as the same preferences.

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/Json.hpp"
#include "base/Require.hpp"
#include "platform/linux/DefaultsEncoding.hpp"

namespace tallyfox {
namespace {

bool isSame(const DefaultsValue& one, const DefaultsValue& other) {
  const auto* left = std::get_if<double>(&one);
  const auto* right = std::get_if<double>(&other);
  if (left == nullptr || right == nullptr) return one == other;
  return std::isnan(*left) ? std::isnan(*right)
                           : std::bit_cast<std::uint64_t>(*left) == std::bit_cast<std::uint64_t>(*right);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file = parsedJson(textOf({data, size}));
  if (!file) return 0;
  const auto preferences = linux_os::decodedDefaults(*file);
  if (!preferences) return 0;
  const auto written = parsedJson(jsonText(linux_os::defaultsJson(*preferences)));
  require(written.has_value(), "written preferences parse");
  const auto again = linux_os::decodedDefaults(*written);
  require(again.has_value(), "written preferences decode");
  require(again->size() == preferences->size(), "no preference is lost or added");
  for (const auto& [key, value] : *preferences)
    require(again->contains(key) && isSame(again->at(key), value), "a preference reads back with type and value");
  return 0;
}

}  // namespace tallyfox
