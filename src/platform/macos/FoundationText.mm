#include "platform/macos/FoundationText.hpp"

#include "platform/macos/CFText.hpp"

namespace tallyfox::mac_os {

NSString* foundationText(std::string_view text) {
  const CFRef<CFStringRef> result = cfString(text);
  return result ? (__bridge NSString*)result.get() : @"";
}

std::string utf8Text(NSString* text) {
  return textOf((__bridge CFStringRef)text);
}

std::string errorText(NSError* error) {
  std::string text = utf8Text(error.localizedDescription);
  return text.empty() ? "The system gave no reason." : text;
}

}  // namespace tallyfox::mac_os
