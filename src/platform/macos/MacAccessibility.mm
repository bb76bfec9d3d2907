#include "platform/macos/MacAccessibility.hpp"

#include <ApplicationServices/ApplicationServices.h>

#include "platform/macos/AXReadings.hpp"
#include "platform/macos/CFRef.hpp"
#include "platform/macos/MacAXMessages.hpp"
#include "platform/macos/MacElement.hpp"

namespace tallyfox::mac_os {

struct MacAccessibility::Impl {
  explicit Impl(Clock& clock) : readings(messages, clock) {}

  MacAXMessages messages;
  AXReadings readings;
};

MacAccessibility::MacAccessibility(Clock& clock) : impl_(std::make_unique<Impl>(clock)) {
  // The default of every object that was not given one, where the system's own would be several seconds.
  MacElement::of(systemWideElement())->setTimeout(MessagingTimeouts::standard);
}

MacAccessibility::~MacAccessibility() = default;

bool MacAccessibility::isProcessTrusted() {
  const void* key = kAXTrustedCheckOptionPrompt;
  const void* value = kCFBooleanFalse;
  const auto options = CFRef<CFDictionaryRef>::adopt(
      CFDictionaryCreate(nullptr, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  return AXIsProcessTrustedWithOptions(options.get());
}

AXUIElement MacAccessibility::applicationElement(std::int32_t processIdentifier) {
  return MacElement::application(processIdentifier);
}

AXUIElement MacAccessibility::systemWideElement() {
  return MacElement::systemWide();
}

std::expected<AXUIElement, AXError> MacAccessibility::elementAtPosition(AXPoint point) {
  return impl_->messages.copyElementAtPosition(point, impl_->readings.systemWideTimeout());
}

std::unique_ptr<AXReadScope> MacAccessibility::willRead(const AXReadPlan& plan) {
  return impl_->readings.open(plan);
}

std::expected<AXValue, AXError> MacAccessibility::copyAttribute(const AXUIElement& element, AXAttribute attribute) {
  return impl_->readings.copyAttribute(element, attribute);
}

std::expected<void, AXError> MacAccessibility::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                            const AXValue& value) {
  return impl_->readings.setAttribute(element, attribute, value);
}

std::expected<std::vector<std::string>, AXError> MacAccessibility::copyActionNames(const AXUIElement& element) {
  return impl_->readings.copyActionNames(element);
}

std::expected<void, AXError> MacAccessibility::performAction(const AXUIElement& element, std::string_view action) {
  return impl_->readings.performAction(element, action);
}

std::expected<std::int32_t, AXError> MacAccessibility::processIdentifier(const AXUIElement& element) {
  const MacElement* own = MacElement::of(element);
  if (own == nullptr || own->isSystemWide()) return std::unexpected(AXError::unsupported);
  if (own->processIdentifier() == 0) return std::unexpected(AXError::invalidElement);
  return own->processIdentifier();
}

void MacAccessibility::setMessagingTimeout(const AXUIElement& element, Seconds timeout) {
  impl_->readings.setTimeout(element, timeout);
}

}  // namespace tallyfox::mac_os
