#pragma once

#include <QPalette>

#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {

/// The theme as a palette. A widget that paints with these roles follows every change of appearance by itself: the
/// window's palette is handed down to all that it holds.
[[nodiscard]] QPalette paletteOf(const AppTheme& theme);

/// Where the theme's colours lie that toolkits have no name for.
namespace palette_role {
inline constexpr QPalette::ColorRole card = QPalette::Base;
inline constexpr QPalette::ColorRole cardBorder = QPalette::Mid;
inline constexpr QPalette::ColorRole buttonBorder = QPalette::Dark;
inline constexpr QPalette::ColorRole focusRing = QPalette::Highlight;
inline constexpr QPalette::ColorRole secondaryText = QPalette::PlaceholderText;
inline constexpr QPalette::ColorRole positiveText = QPalette::Link;
inline constexpr QPalette::ColorRole warningText = QPalette::LinkVisited;
}  // namespace palette_role

[[nodiscard]] QPalette::ColorRole paletteRoleOf(TextRole role);

}  // namespace tallyfox::linux_os
