#include "platform/macos/AXValueCoding.hpp"

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/macos/CFText.hpp"
#include "platform/macos/MacElement.hpp"
#include "platform/macos/ProcessStatus.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr std::unexpected noValue(AXError::noValue);

std::expected<AXValue, AXError> decodedStructure(AXValueRef value, std::int32_t processIdentifier) {
  switch (AXValueGetType(value)) {
    case kAXValueTypeCGPoint: {
      CGPoint point{};
      if (!AXValueGetValue(value, kAXValueTypeCGPoint, &point)) return noValue;
      return AXPoint{.x = point.x, .y = point.y};
    }
    case kAXValueTypeCGSize: {
      CGSize size{};
      if (!AXValueGetValue(value, kAXValueTypeCGSize, &size)) return noValue;
      return AXSize{.width = size.width, .height = size.height};
    }
    case kAXValueTypeAXError: {
      ::AXError error = kAXErrorFailure;
      if (!AXValueGetValue(value, kAXValueTypeAXError, &error)) return noValue;
      return std::unexpected(errorOf(error, processIdentifier));
    }
    case kAXValueTypeCGRect:
    case kAXValueTypeCFRange:
    case kAXValueTypeIllegal:
      break;
  }
  return noValue;
}

std::expected<AXValue, AXError> decodedList(CFArrayRef list) {
  std::vector<AXUIElement> elements;
  const CFIndex count = CFArrayGetCount(list);
  elements.reserve(static_cast<std::size_t>(count));
  for (CFIndex i = 0; i < count; ++i) {
    const CFTypeRef member = CFArrayGetValueAtIndex(list, i);
    if (member == nullptr || CFGetTypeID(member) != AXUIElementGetTypeID()) return noValue;
    elements.push_back(MacElement::made(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(member))));
  }
  return elements;
}

CFRef<CFTypeRef> adopted(CFTypeRef created) {
  return CFRef<CFTypeRef>::adopt(created);
}

CFRef<CFTypeRef> encoded(const std::string& text) {
  return CFRef<CFTypeRef>::retain(cfString(text).get());
}
CFRef<CFTypeRef> encoded(bool flag) {
  return CFRef<CFTypeRef>::retain(flag ? kCFBooleanTrue : kCFBooleanFalse);
}
CFRef<CFTypeRef> encoded(double number) {
  return adopted(CFNumberCreate(nullptr, kCFNumberDoubleType, &number));
}
CFRef<CFTypeRef> encoded(const AXPoint& point) {
  const CGPoint native = CGPointMake(point.x, point.y);
  return adopted(AXValueCreate(kAXValueTypeCGPoint, &native));
}
CFRef<CFTypeRef> encoded(const AXSize& size) {
  const CGSize native = CGSizeMake(size.width, size.height);
  return adopted(AXValueCreate(kAXValueTypeCGSize, &native));
}
CFRef<CFTypeRef> encoded(const AXUIElement& element) {
  const MacElement* own = MacElement::of(element);
  return own == nullptr ? CFRef<CFTypeRef>() : CFRef<CFTypeRef>::retain(own->object());
}
CFRef<CFTypeRef> encoded(const std::vector<AXUIElement>& elements) {
  const auto list = CFRef<CFMutableArrayRef>::adopt(
      CFArrayCreateMutable(nullptr, static_cast<CFIndex>(elements.size()), &kCFTypeArrayCallBacks));
  for (const AXUIElement& element : elements) {
    const MacElement* own = MacElement::of(element);
    if (own == nullptr || !list) return {};
    CFArrayAppendValue(list.get(), own->object());
  }
  return CFRef<CFTypeRef>::retain(list.get());
}

}  // namespace

AXError errorOf(::AXError error, std::int32_t processIdentifier) {
  switch (error) {
    case kAXErrorInvalidUIElement:
    case kAXErrorInvalidUIElementObserver:
      return AXError::invalidElement;
    case kAXErrorAttributeUnsupported:
    case kAXErrorActionUnsupported:
    case kAXErrorNotificationUnsupported:
    case kAXErrorParameterizedAttributeUnsupported:
    case kAXErrorIllegalArgument:  // the arguments are ours and well-formed: the application has no use for them
      return AXError::unsupported;
    case kAXErrorNoValue:
      return AXError::noValue;
    case kAXErrorAPIDisabled:
      return AXError::notTrusted;
    case kAXErrorCannotComplete:
    case kAXErrorFailure:
    case kAXErrorNotImplemented:  // it says of the program, not of the element, that it cannot answer
    case kAXErrorNotificationAlreadyRegistered:
    case kAXErrorNotificationNotRegistered:
    case kAXErrorNotEnoughPrecision:
    case kAXErrorSuccess:
      break;
  }
  const bool isGone = processIdentifier > 0 && !isProcessRunning(processIdentifier);
  return isGone ? AXError::invalidElement : AXError::cannotComplete;
}

std::expected<AXValue, AXError> decodedValue(CFTypeRef value, std::int32_t processIdentifier) {
  if (value == nullptr) return noValue;
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFStringGetTypeID()) return textOf(static_cast<CFStringRef>(value));
  if (type == CFBooleanGetTypeID()) return static_cast<bool>(CFBooleanGetValue(static_cast<CFBooleanRef>(value)));
  if (type == CFNumberGetTypeID()) {
    double number = 0;
    // False means that it was rounded: the number is set all the same.
    (void)CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
    return number;
  }
  if (type == AXValueGetTypeID()) return decodedStructure(static_cast<AXValueRef>(value), processIdentifier);
  if (type == AXUIElementGetTypeID())
    return MacElement::made(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value)));
  if (type == CFArrayGetTypeID()) return decodedList(static_cast<CFArrayRef>(value));
  return noValue;
}

CFRef<CFTypeRef> encodedValue(const AXValue& value) {
  return std::visit([](const auto& held) { return encoded(held); }, value);
}

}  // namespace tallyfox::mac_os
