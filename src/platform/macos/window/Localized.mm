#include "platform/macos/window/Localized.hpp"

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {

NSString* localized(const std::string& text) {
  // A key without a translation comes back itself; an empty one would name nothing.
  if (text.empty()) return @"";
  return [NSBundle.mainBundle localizedStringForKey:foundationText(text) value:nil table:nil];
}

}  // namespace tallyfox::mac_os
