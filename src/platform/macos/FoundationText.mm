#include "platform/macos/FoundationText.hpp"

#include "base/Text.hpp"

namespace tallyfox::mac_os {

NSString* foundationText(std::string_view text) {
  const std::string wellFormed = repairedUtf8(text);
  NSString* const result = [[NSString alloc] initWithBytes:wellFormed.data()
                                                    length:wellFormed.size()
                                                  encoding:NSUTF8StringEncoding];
  return result != nil ? result : @"";
}

std::string utf8Text(NSString* text) {
  NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  if (bytes.length == 0) return {};
  return {static_cast<const char*>(bytes.bytes), bytes.length};
}

std::string errorText(NSError* error) {
  std::string text = utf8Text(error.localizedDescription);
  return text.empty() ? "The system gave no reason." : text;
}

}  // namespace tallyfox::mac_os
