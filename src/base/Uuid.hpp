#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox {

/// 128 bits with the canonical 8-4-4-4-12 text form. No version or variant is required of them.
struct Uuid {
  std::array<std::uint8_t, 16> bytes{};

  /// A version 4 UUID from the secure random source.
  [[nodiscard]] static Uuid random();
  /// The 36-character form in either case; absent for anything else.
  [[nodiscard]] static std::optional<Uuid> parsed(std::string_view text);
  /// Upper-case canonical form.
  [[nodiscard]] std::string text() const;

  bool operator==(const Uuid&) const = default;
  /// The order of the texts.
  bool operator<(const Uuid& other) const { return bytes < other.bytes; }
};

}  // namespace tallyfox

template <>
struct std::hash<tallyfox::Uuid> {
  std::size_t operator()(const tallyfox::Uuid& id) const noexcept;
};
