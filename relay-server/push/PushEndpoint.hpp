#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox::server {

/// Where a push service takes messages for one phone. The whole of it is a secret: who knows it can address the phone.
struct PushEndpoint {
  static constexpr std::size_t greatestLength = 2048;

  std::string host;  ///< lower case
  std::uint16_t port = 443;
  std::string target;  ///< path and query

  /// Absent for anything but an https address of at most 2048 characters without user or fragment.
  [[nodiscard]] static std::optional<PushEndpoint> parsed(std::string_view text);
  /// Host, and port unless it is 443.
  [[nodiscard]] std::string authority() const;
  [[nodiscard]] std::string origin() const { return "https://" + authority(); }
  bool operator==(const PushEndpoint&) const = default;
};

}  // namespace tallyfox::server
