#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tallyfox::linux_os {

/// The value of a window property as its owner wrote it, which may be anything. Everything read from it is in bounds
/// and, for texts, valid UTF-8.
class X11Property {
 public:
  X11Property() = default;
  /// `format` is the width of one item in bits (8, 16 or 32).
  X11Property(int format, std::string bytes, bool isUtf8)
      : format_(format), bytes_(std::move(bytes)), isUtf8_(isUtf8) {}

  /// Absent when no such property is set, or one without a width.
  [[nodiscard]] bool exists() const { return format_ != 0; }
  /// The 32-bit items; empty for another width. A cut-off last item does not count.
  [[nodiscard]] std::vector<std::uint32_t> values() const;
  [[nodiscard]] std::optional<std::uint32_t> value() const;
  /// Whether the value is a list of 32-bit items and holds this one.
  [[nodiscard]] bool contains(std::uint32_t item) const;
  /// Up to the first zero byte. Declared UTF-8 and well-formed UTF-8 are taken as such, all else as Latin-1.
  [[nodiscard]] std::string text() const;
  /// The texts between zero bytes.
  [[nodiscard]] std::vector<std::string> texts() const;

 private:
  [[nodiscard]] std::string decoded(std::string_view bytes) const;

  int format_ = 0;
  std::string bytes_;
  bool isUtf8_ = false;
};

}  // namespace tallyfox::linux_os
