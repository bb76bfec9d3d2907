#include "platform/macos/MacWindowList.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <utility>

#include "platform/macos/CFRef.hpp"
#include "platform/macos/CFText.hpp"

namespace tallyfox::mac_os {
namespace {

template <typename Number>
std::optional<Number> numberOf(CFDictionaryRef window, CFStringRef key, CFNumberType type) {
  const CFTypeRef value = CFDictionaryGetValue(window, key);
  if (value == nullptr || CFGetTypeID(value) != CFNumberGetTypeID()) return std::nullopt;
  Number number{};
  if (!CFNumberGetValue(static_cast<CFNumberRef>(value), type, &number)) return std::nullopt;
  return number;
}

std::optional<std::string> nonEmptyText(CFDictionaryRef window, CFStringRef key) {
  auto text = textIfString(CFDictionaryGetValue(window, key));
  return text && text->empty() ? std::nullopt : std::move(text);
}

std::optional<DialogFrame> boundsOf(CFDictionaryRef window) {
  const CFTypeRef value = CFDictionaryGetValue(window, kCGWindowBounds);
  if (value == nullptr || CFGetTypeID(value) != CFDictionaryGetTypeID()) return std::nullopt;
  CGRect bounds{};
  if (!CGRectMakeWithDictionaryRepresentation(static_cast<CFDictionaryRef>(value), &bounds)) return std::nullopt;
  return DialogFrame{bounds.origin.x, bounds.origin.y, bounds.size.width, bounds.size.height};
}

WindowInfo described(CFDictionaryRef window) {
  return {.ownerProcessIdentifier = numberOf<std::int32_t>(window, kCGWindowOwnerPID, kCFNumberSInt32Type),
          .ownerName = nonEmptyText(window, kCGWindowOwnerName),
          .name = nonEmptyText(window, kCGWindowName),
          .layer = numberOf<std::int64_t>(window, kCGWindowLayer, kCFNumberSInt64Type),
          .bounds = boundsOf(window),
          .alpha = numberOf<double>(window, kCGWindowAlpha, kCFNumberDoubleType)};
}

}  // namespace

std::vector<WindowInfo> MacWindowList::windows(bool includeAllSpaces) {
  const CGWindowListOption which = includeAllSpaces ? kCGWindowListOptionAll : kCGWindowListOptionOnScreenOnly;
  const auto list = CFRef<CFArrayRef>::adopt(
      CGWindowListCopyWindowInfo(which | kCGWindowListExcludeDesktopElements, kCGNullWindowID));
  std::vector<WindowInfo> windows;
  if (!list) return windows;
  for (CFIndex i = 0; i < CFArrayGetCount(list.get()); ++i) {
    const CFTypeRef window = CFArrayGetValueAtIndex(list.get(), i);
    if (window != nullptr && CFGetTypeID(window) == CFDictionaryGetTypeID())
      windows.push_back(described(static_cast<CFDictionaryRef>(window)));
  }
  return windows;
}

}  // namespace tallyfox::mac_os
