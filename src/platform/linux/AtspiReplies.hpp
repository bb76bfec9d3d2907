#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/AtspiBus.hpp"
#include "platform/linux/AtspiRoles.hpp"

namespace tallyfox::linux_os {

/// A rectangle as Component.GetExtents gives it.
struct AtspiExtents {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const AtspiExtents&) const = default;
  /// Toolkits give the lowest number for what is not on the screen; nothing is a million points away.
  [[nodiscard]] bool isOnAScreen() const;
};

/// Readers of replies, by the reply's signature. A reply of another shape is `unsupported`; an error stays as it is.
namespace reply {
[[nodiscard]] std::expected<std::string, AXError> text(AtspiBus::Answer answer);                        // s
[[nodiscard]] std::expected<std::string, AXError> variantText(AtspiBus::Answer answer);                 // v: s
[[nodiscard]] std::expected<std::int32_t, AXError> variantNumber(AtspiBus::Answer answer);              // v: i
[[nodiscard]] std::expected<std::uint32_t, AXError> unsignedNumber(AtspiBus::Answer answer);            // u
[[nodiscard]] std::expected<bool, AXError> boolean(AtspiBus::Answer answer);                            // b
[[nodiscard]] std::expected<AtspiStates, AXError> states(AtspiBus::Answer answer);                      // au
[[nodiscard]] std::expected<AtspiExtents, AXError> extents(AtspiBus::Answer answer);                    // (iiii)
[[nodiscard]] std::expected<AtspiReference, AXError> reference(AtspiBus::Answer answer);                // (so)
[[nodiscard]] std::expected<AtspiReference, AXError> variantReference(AtspiBus::Answer answer);         // v: (so)
[[nodiscard]] std::expected<std::vector<AtspiReference>, AXError> references(AtspiBus::Answer answer);  // a(so)
}  // namespace reply

}  // namespace tallyfox::linux_os
