#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace tallyfox::server {

/// Counts by number, of numbers that are known beforehand; all others are one, so that no peer can make it grow.
class CodeCounter {
 public:
  struct Entry {
    unsigned code = 0;
    std::uint64_t count = 0;
  };

  explicit CodeCounter(std::span<const unsigned> codes) {
    for (const unsigned code : codes)
      entries_.push_back({.code = code});
  }
  void add(unsigned code) {
    const auto known = std::ranges::find(entries_, code, &Entry::code);
    ++(known == entries_.end() ? others_ : known->count);
  }
  [[nodiscard]] std::span<const Entry> entries() const { return entries_; }
  [[nodiscard]] std::uint64_t others() const { return others_; }

 private:
  std::vector<Entry> entries_;
  std::uint64_t others_ = 0;
};

}  // namespace tallyfox::server
