#include "platform/macos/MacAXMessages.hpp"

#import <AppKit/AppKit.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/macos/AXValueCoding.hpp"
#include "platform/macos/CFText.hpp"
#include "platform/macos/MacElement.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr std::unexpected invalidElement(AXError::invalidElement);
constexpr std::unexpected cannotComplete(AXError::cannotComplete);

/// As the main run loop last heard; 0 for none.
std::int32_t frontmostProcess() {
  @autoreleasepool {
    NSRunningApplication* frontmost = NSWorkspace.sharedWorkspace.frontmostApplication;
    return frontmost == nil ? 0 : std::max<std::int32_t>(frontmost.processIdentifier, 0);
  }
}

/// The element with its time-out set. Fails when it cannot, or must not, be asked from here.
std::expected<const MacElement*, AXError> readied(const AXUIElement& element, Seconds timeout) {
  const MacElement* own = MacElement::of(element);
  if (own == nullptr || own->object() == nullptr) return invalidElement;
  if (pthread_main_np() == 0) {
    const std::int32_t process = own->isSystemWide() ? frontmostProcess() : own->processIdentifier();
    if (process == getpid()) return cannotComplete;
  }
  own->setTimeout(timeout);
  return own;
}

std::expected<void, AXError> outcomeOf(::AXError error, const MacElement& element) {
  if (error == kAXErrorSuccess) return {};
  return std::unexpected(errorOf(error, element.processIdentifier()));
}

CFRef<CFArrayRef> namesOf(const std::vector<AXAttribute>& attributes) {
  const auto names = CFRef<CFMutableArrayRef>::adopt(
      CFArrayCreateMutable(nullptr, static_cast<CFIndex>(attributes.size()), &kCFTypeArrayCallBacks));
  for (const AXAttribute attribute : attributes)
    CFArrayAppendValue(names.get(), cfString(attributeName(attribute)).get());
  return CFRef<CFArrayRef>::retain(names.get());
}

}  // namespace

AXAddressee MacAXMessages::addressee(const AXUIElement& element) {
  const MacElement* own = MacElement::of(element);
  if (own == nullptr) return {};
  if (own->isSystemWide()) return {AXAddressee::Kind::systemWide, frontmostProcess()};
  return {own->isApplication() ? AXAddressee::Kind::application : AXAddressee::Kind::element, own->processIdentifier()};
}

AXMessages::Answer MacAXMessages::copyAttribute(const AXUIElement& element, AXAttribute attribute, Seconds timeout) {
  @autoreleasepool {
    const auto ready = readied(element, timeout);
    if (!ready) return std::unexpected(ready.error());
    const MacElement* own = *ready;
    CFTypeRef value = nullptr;
    const ::AXError error =
        AXUIElementCopyAttributeValue(own->object(), cfString(attributeName(attribute)).get(), &value);
    const auto owned = CFRef<CFTypeRef>::adopt(value);
    if (error != kAXErrorSuccess) return std::unexpected(errorOf(error, own->processIdentifier()));
    return decodedValue(owned.get(), own->processIdentifier());
  }
}

std::expected<std::vector<AXMessages::Answer>, AXError> MacAXMessages::copyAttributes(
    const AXUIElement& element, const std::vector<AXAttribute>& attributes, Seconds timeout) {
  @autoreleasepool {
    const auto ready = readied(element, timeout);
    if (!ready) return std::unexpected(ready.error());
    const MacElement* own = *ready;
    CFArrayRef values = nullptr;
    const ::AXError error = AXUIElementCopyMultipleAttributeValues(own->object(), namesOf(attributes).get(),
                                                                   AXCopyMultipleAttributeOptions{}, &values);
    const auto owned = CFRef<CFArrayRef>::adopt(values);
    if (error != kAXErrorSuccess) return std::unexpected(errorOf(error, own->processIdentifier()));
    if (!owned || CFGetTypeID(owned.get()) != CFArrayGetTypeID()) return cannotComplete;
    std::vector<Answer> answers;
    for (CFIndex i = 0; i < CFArrayGetCount(owned.get()); ++i)
      answers.push_back(decodedValue(CFArrayGetValueAtIndex(owned.get(), i), own->processIdentifier()));
    return answers;
  }
}

std::expected<void, AXError> MacAXMessages::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                         const AXValue& value, Seconds timeout) {
  @autoreleasepool {
    const auto ready = readied(element, timeout);
    if (!ready) return std::unexpected(ready.error());
    const MacElement* own = *ready;
    const CFRef<CFTypeRef> encoded = encodedValue(value);
    if (!encoded) return invalidElement;
    return outcomeOf(
        AXUIElementSetAttributeValue(own->object(), cfString(attributeName(attribute)).get(), encoded.get()), *own);
  }
}

std::expected<std::vector<std::string>, AXError> MacAXMessages::copyActionNames(const AXUIElement& element,
                                                                                Seconds timeout) {
  @autoreleasepool {
    const auto ready = readied(element, timeout);
    if (!ready) return std::unexpected(ready.error());
    const MacElement* own = *ready;
    CFArrayRef list = nullptr;
    const ::AXError error = AXUIElementCopyActionNames(own->object(), &list);
    const auto owned = CFRef<CFArrayRef>::adopt(list);
    if (error != kAXErrorSuccess) return std::unexpected(errorOf(error, own->processIdentifier()));
    if (!owned || CFGetTypeID(owned.get()) != CFArrayGetTypeID()) return std::unexpected(AXError::noValue);
    std::vector<std::string> names;
    for (CFIndex i = 0; i < CFArrayGetCount(owned.get()); ++i) {
      auto name = textIfString(CFArrayGetValueAtIndex(owned.get(), i));
      if (!name) return std::unexpected(AXError::noValue);
      names.push_back(*std::move(name));
    }
    return names;
  }
}

std::expected<void, AXError> MacAXMessages::performAction(const AXUIElement& element, std::string_view action,
                                                          Seconds timeout) {
  @autoreleasepool {
    const auto ready = readied(element, timeout);
    if (!ready) return std::unexpected(ready.error());
    const MacElement* own = *ready;
    return outcomeOf(AXUIElementPerformAction(own->object(), cfString(action).get()), *own);
  }
}

std::expected<AXUIElement, AXError> MacAXMessages::copyElementAtPosition(AXPoint point, Seconds timeout) {
  @autoreleasepool {
    const AXUIElement systemWide = MacElement::systemWide();
    const MacElement& own = *MacElement::of(systemWide);
    if (own.object() == nullptr) return cannotComplete;
    own.setTimeout(timeout);
    AXUIElementRef found = nullptr;
    const ::AXError error = AXUIElementCopyElementAtPosition(own.object(), static_cast<float>(point.x),
                                                             static_cast<float>(point.y), &found);
    auto owned = CFRef<AXUIElementRef>::adopt(found);
    if (error != kAXErrorSuccess) return std::unexpected(errorOf(error, 0));
    if (!owned || CFGetTypeID(owned.get()) != AXUIElementGetTypeID()) return std::unexpected(AXError::noValue);
    return MacElement::made(std::move(owned));
  }
}

}  // namespace tallyfox::mac_os
