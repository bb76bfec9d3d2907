#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox {

/// The parts of a URI reference (RFC 3986), split and checked, percent-encoding left as it stands.
struct Url {
  std::optional<std::string> scheme;  ///< lower case
  std::optional<std::string> user;    ///< user information before the @
  std::optional<std::string> host;  ///< without the brackets of an IPv6 literal; absent without authority or when empty
  std::optional<std::uint16_t> port;
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// Absent when the text is not a URI reference: forbidden characters, a port that is no number up to 65535,
  /// a bad percent-encoding, an unclosed bracket.
  [[nodiscard]] static std::optional<Url> parsed(std::string_view text);
  /// The reference as text; absent when the parts form none (an authority with a relative path, a
  /// path that would be read as something else).
  [[nodiscard]] std::optional<std::string> text() const;

  bool operator==(const Url&) const = default;
};

}  // namespace tallyfox
