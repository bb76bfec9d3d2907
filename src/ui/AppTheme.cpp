#include "ui/AppTheme.hpp"

namespace tallyfox {

AppTheme AppTheme::of(Appearance appearance) {
  if (appearance == Appearance::dark) {
    return {.windowBackground = {0.09, 0.11, 0.13},
            .cardBackground = {0.14, 0.16, 0.19},
            .cardBorder = {0.22, 0.25, 0.29},
            .text = {0.95, 0.96, 0.97},
            .secondaryText = {0.66, 0.70, 0.74},
            .positiveText = app_brand::green,
            .warningText = app_brand::amber,
            .buttonBackground = {0.22, 0.25, 0.29},
            .buttonBorder = {0.32, 0.36, 0.41},
            .focusRing = app_brand::green};
  }
  return {.windowBackground = {0.95, 0.96, 0.97},
          .cardBackground = {1, 1, 1},
          .cardBorder = {0.87, 0.89, 0.91},
          .text = app_brand::ink,
          .secondaryText = {0.36, 0.40, 0.44},
          .positiveText = app_brand::successPill,
          .warningText = app_brand::warningPill,
          .buttonBackground = {0.97, 0.98, 0.98},
          .buttonBorder = {0.76, 0.79, 0.82},
          .focusRing = app_brand::successPill};
}

AppTheme AppTheme::withIncreasedContrast() const {
  AppTheme theme = *this;
  theme.cardBorder = secondaryText;
  theme.buttonBorder = secondaryText;
  theme.secondaryText = text;
  return theme;
}

Color AppTheme::textColor(TextRole role) const {
  switch (role) {
    case TextRole::primary:
      return text;
    case TextRole::secondary:
      return secondaryText;
    case TextRole::positive:
      return positiveText;
    case TextRole::warning:
      return warningText;
  }
  return text;
}

Color pillColor(PillRole role) {
  return role == PillRole::success ? app_brand::successPill : app_brand::warningPill;
}

}  // namespace tallyfox
