#include "platform/macos/window/Texts.hpp"

namespace tallyfox::mac_os {

NSString* nsString(const std::string& text) {
  NSString* converted = [[NSString alloc] initWithBytes:text.data()
                                                 length:text.size()
                                               encoding:NSUTF8StringEncoding];
  return converted != nil ? converted : @"";
}

NSString* localized(const std::string& text) {
  // A key without a translation comes back itself; an empty one would name nothing.
  if (text.empty()) return @"";
  return [NSBundle.mainBundle localizedStringForKey:nsString(text) value:nil table:nil];
}

}  // namespace tallyfox::mac_os
