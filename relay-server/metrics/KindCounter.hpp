#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tallyfox::server {

/// Counts by the values of an enumeration, which begin at zero and have one of `names` each.
template <typename Kind, std::size_t size>
class KindCounter {
 public:
  explicit constexpr KindCounter(const std::array<std::string_view, size>& names) : names_(&names) {}

  void add(Kind kind, std::uint64_t amount = 1) { counts_[static_cast<std::size_t>(kind)] += amount; }
  void remove(Kind kind) { --counts_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] std::uint64_t of(Kind kind) const { return counts_[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] const std::array<std::string_view, size>& names() const { return *names_; }
  [[nodiscard]] const std::array<std::uint64_t, size>& counts() const { return counts_; }

 private:
  const std::array<std::string_view, size>* names_;
  std::array<std::uint64_t, size> counts_{};
};

}  // namespace tallyfox::server
