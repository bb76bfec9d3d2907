#pragma once

#include "ui/AppBrand.hpp"
#include "ui/StatusTexts.hpp"

namespace tallyfox {

enum class Appearance { light, dark };

/// What a text says by its colour.
enum class TextRole { primary, secondary, positive, warning };

/// The colours of the status window in one appearance, for toolkits that have none of their own to go by. Every text
/// has a contrast of at least 4.5 to 1 to what it stands on.
struct AppTheme {
  Color windowBackground;
  Color cardBackground;
  Color cardBorder;
  Color text;
  Color secondaryText;
  Color positiveText;
  Color warningText;
  Color buttonBackground;
  Color buttonBorder;
  Color focusRing;

  [[nodiscard]] static AppTheme of(Appearance appearance);
  /// For owners who have asked their system for more contrast: no text is paler than another, and edges are plain.
  [[nodiscard]] AppTheme withIncreasedContrast() const;
  [[nodiscard]] Color textColor(TextRole role) const;
};

/// Pills look alike in both appearances: white text on these.
[[nodiscard]] Color pillColor(PillRole role);
inline constexpr Color pillTextColor{1, 1, 1};

}  // namespace tallyfox
