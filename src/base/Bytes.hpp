#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfox {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

[[nodiscard]] inline ByteView bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

[[nodiscard]] inline std::string_view textOf(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

[[nodiscard]] inline Bytes copyOfBytes(std::string_view text) {
  const ByteView view = bytesOf(text);
  return {view.begin(), view.end()};
}

}  // namespace tallyfox
