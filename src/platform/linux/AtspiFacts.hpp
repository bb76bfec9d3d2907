#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/AtspiReplies.hpp"

namespace tallyfox::linux_os {

/// Not yet asked, or what the answer was.
template <typename T>
using AtspiFact = std::optional<std::expected<T, AXError>>;

/// What is known of one accessible object, as its toolkit said it.
struct AtspiFacts {
  AtspiFact<std::uint32_t> role;
  AtspiFact<AtspiStates> states;
  AtspiFact<std::int32_t> childCount;
  AtspiFact<std::vector<AtspiReference>> children;  ///< of a wide object only the last ones
  AtspiFact<std::string> name;
  AtspiFact<std::string> description;
  AtspiFact<std::string> text;
  AtspiFact<AtspiExtents> extents;
  AtspiFact<AtspiReference> parent;
  AtspiFact<std::vector<AtspiReference>> focusClaims;  ///< objects inside it that claim the focus, outermost first
  bool isFoundShown =
      false;  ///< a search found it shown and settled its children, all shown; its states were not asked
};

/// A set of facts, as bits.
using FactSet = std::uint16_t;
namespace fact {
inline constexpr FactSet role = 1;
inline constexpr FactSet states = 2;
inline constexpr FactSet childCount = 4;
inline constexpr FactSet children = 8;
inline constexpr FactSet name = 16;
inline constexpr FactSet description = 32;
inline constexpr FactSet text = 64;
inline constexpr FactSet extents = 128;
inline constexpr FactSet parent = 256;
inline constexpr FactSet toolkit = 512;  ///< of the object's program
inline constexpr FactSet focusClaims = 1024;
}  // namespace fact

/// Which facts are known, be it as an error.
[[nodiscard]] FactSet knownOf(const AtspiFacts& facts);

}  // namespace tallyfox::linux_os
