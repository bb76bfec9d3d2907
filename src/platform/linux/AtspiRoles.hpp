#pragma once

#include <cstdint>
#include <string_view>

namespace tallyfox::linux_os {

/// The role numbers that this backend names. Numbers, because each toolkit has words of its own for them.
namespace atspi_role {
inline constexpr std::uint32_t alert = 2;
inline constexpr std::uint32_t dialog = 16;
inline constexpr std::uint32_t fileChooser = 19;
inline constexpr std::uint32_t frame = 23;
inline constexpr std::uint32_t label = 29;
inline constexpr std::uint32_t passwordText = 40;
inline constexpr std::uint32_t pushButton = 43;
inline constexpr std::uint32_t window = 69;
inline constexpr std::uint32_t staticText = 116;
}  // namespace atspi_role

/// States are bits of one 64-bit set, by number.
enum class AtspiState : std::uint8_t {
  active = 1,
  checked = 4,
  defunct = 6,
  editable = 7,
  enabled = 8,
  focused = 12,
  iconified = 15,
  modal = 16,
  multiLine = 17,
  sensitive = 24,
  showing = 25,
  visible = 30,
  isDefault = 39,
};

using AtspiStates = std::uint64_t;
[[nodiscard]] constexpr bool has(AtspiStates states, AtspiState state) {
  return ((states >> static_cast<unsigned>(state)) & 1U) != 0;
}
[[nodiscard]] constexpr AtspiStates bit(AtspiState state) {
  return AtspiStates{1} << static_cast<unsigned>(state);
}

/// What kind of thing a role is, as far as reading it differs.
enum class AtspiNature : std::uint8_t {
  plain,
  window,         ///< AXWindow at the top of an application, AXGroup elsewhere
  chooser,        ///< the same, but a dialog; its embeddable panel has the same role
  dialog,         ///< AXWindow with subrole AXDialog at the top, AXSheet while shown inside a window, AXGroup hidden
  button,         ///< has a label of its own
  text,           ///< its content is its value
  textContainer,  ///< text when nothing is inside, else a group around texts
  field,          ///< editable text in one or several lines
  password,       ///< its text is never read
  check,          ///< its value is whether it is checked
};

struct AtspiRoleInfo {
  std::uint32_t role = 0;
  std::string_view axRole = "AXUnknown";
  AtspiNature nature = AtspiNature::plain;
};

/// One table for all toolkits; numbers that it lacks are plain and "AXUnknown".
[[nodiscard]] AtspiRoleInfo roleInfo(std::uint32_t role);
[[nodiscard]] bool canBeWindow(AtspiNature nature);

}  // namespace tallyfox::linux_os
