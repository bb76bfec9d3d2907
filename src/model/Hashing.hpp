#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace tallyfox {

namespace detail {

inline void mixHash(std::size_t& seed, std::size_t value) {
  seed ^= value + 0x9E3779B97F4A7C15U + (seed << 6U) + (seed >> 2U);
}

template <typename Value>
void addToHash(std::size_t& seed, const Value& value) {
  mixHash(seed, std::hash<Value>()(value));
}

template <typename Value>
void addToHash(std::size_t& seed, const std::vector<Value>& values) {
  mixHash(seed, values.size());
  for (const Value& value : values)
    addToHash(seed, value);
}

}  // namespace detail

/// One hash over fields in their order; equal fields give equal hashes (0.0 and -0.0 too).
template <typename... Fields>
[[nodiscard]] std::size_t combinedHash(const Fields&... fields) {
  std::size_t seed = 0;
  (detail::addToHash(seed, fields), ...);
  return seed;
}

}  // namespace tallyfox
