#include "platform/linux/window/ThemePalette.hpp"

#include "platform/linux/window/TemplateImagePainter.hpp"

namespace tallyfox::linux_os {

QPalette paletteOf(const AppTheme& theme) {
  const QColor text = qtColor(theme.text);
  const QColor secondaryText = qtColor(theme.secondaryText);
  QPalette palette(qtColor(theme.buttonBackground), qtColor(theme.windowBackground));
  palette.setColor(QPalette::Window, qtColor(theme.windowBackground));
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::Button, qtColor(theme.buttonBackground));
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::ToolTipBase, qtColor(theme.cardBackground));
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(palette_role::card, qtColor(theme.cardBackground));
  palette.setColor(QPalette::AlternateBase, qtColor(theme.windowBackground));
  palette.setColor(palette_role::cardBorder, qtColor(theme.cardBorder));
  palette.setColor(palette_role::buttonBorder, qtColor(theme.buttonBorder));
  palette.setColor(palette_role::focusRing, qtColor(theme.focusRing));
  palette.setColor(QPalette::HighlightedText, qtColor(theme.windowBackground));
  palette.setColor(palette_role::secondaryText, secondaryText);
  palette.setColor(palette_role::positiveText, qtColor(theme.positiveText));
  palette.setColor(palette_role::warningText, qtColor(theme.warningText));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, secondaryText);
  return palette;
}

QPalette::ColorRole paletteRoleOf(TextRole role) {
  switch (role) {
    case TextRole::primary:
      return QPalette::WindowText;
    case TextRole::secondary:
      return palette_role::secondaryText;
    case TextRole::positive:
      return palette_role::positiveText;
    case TextRole::warning:
      return palette_role::warningText;
  }
  return QPalette::WindowText;
}

}  // namespace tallyfox::linux_os
