#pragma once

// Objective-C++.

#import <Foundation/Foundation.h>

#include <string>

namespace tallyfox::mac_os {

/// A text of the interface in the owner's language where the bundle has a translation, else as it is. Texts made of
/// foreign parts (a phone's name) have no translation and stay as they are.
[[nodiscard]] NSString* localized(const std::string& text);

}  // namespace tallyfox::mac_os
