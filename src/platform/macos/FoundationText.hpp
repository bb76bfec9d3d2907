#pragma once

// Objective-C++ only.
#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace tallyfox::mac_os {

/// Ill-formed UTF-8 is repaired first, so that there always is a string.
[[nodiscard]] NSString* foundationText(std::string_view text);

/// Well-formed UTF-8, also with characters that are NUL; empty for nil. Half of a surrogate pair becomes U+FFFD.
[[nodiscard]] std::string utf8Text(NSString* text);

/// The error's sentence for people; never empty.
[[nodiscard]] std::string errorText(NSError* error);

}  // namespace tallyfox::mac_os
