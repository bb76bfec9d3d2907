#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/macos/CFRef.hpp"

namespace tallyfox::mac_os {

/// As valid UTF-8: what no character is (half of a surrogate pair) becomes U+FFFD.
[[nodiscard]] std::string textOf(CFStringRef string);
/// The text of an object that is a string; absent for any other, and for none.
[[nodiscard]] std::optional<std::string> textIfString(CFTypeRef object);
/// Ill-formed UTF-8 is repaired first.
[[nodiscard]] CFRef<CFStringRef> cfString(std::string_view text);

}  // namespace tallyfox::mac_os
