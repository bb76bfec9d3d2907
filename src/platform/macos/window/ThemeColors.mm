#include "platform/macos/window/ThemeColors.hpp"

namespace tallyfox::mac_os {

NSColor* nsColor(const Color& color) {
  return [NSColor colorWithSRGBRed:color.red green:color.green blue:color.blue alpha:1];
}

AppTheme themeUnder(NSAppearance* appearance) {
  NSAppearanceName match =
      [appearance bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
  const bool isDark = [match isEqualToString:NSAppearanceNameDarkAqua];
  const AppTheme theme = AppTheme::of(isDark ? Appearance::dark : Appearance::light);
  return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldIncreaseContrast ? theme.withIncreasedContrast() : theme;
}

}  // namespace tallyfox::mac_os
