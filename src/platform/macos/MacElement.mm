#include "platform/macos/MacElement.hpp"

#include <memory>
#include <utility>

namespace tallyfox::mac_os {

MacElement::MacElement(CFRef<AXUIElementRef> object, bool isSystemWide)
    : object_(std::move(object)), isSystemWide_(isSystemWide) {
  pid_t process = 0;
  if (!isSystemWide_ && object_ && AXUIElementGetPid(object_.get(), &process) == kAXErrorSuccess && process > 0)
    processIdentifier_ = process;
}

AXUIElement MacElement::made(CFRef<AXUIElementRef> object) {
  return AXUIElement(std::make_shared<const MacElement>(std::move(object)));
}

AXUIElement MacElement::application(std::int32_t processIdentifier) {
  return made(CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(processIdentifier)));
}

AXUIElement MacElement::systemWide() {
  return AXUIElement(
      std::make_shared<const MacElement>(CFRef<AXUIElementRef>::adopt(AXUIElementCreateSystemWide()), true));
}

const MacElement* MacElement::of(const AXUIElement& element) {
  return dynamic_cast<const MacElement*>(&element.identity());
}

bool MacElement::isEqual(const AXElementIdentity& other) const {
  const auto* element = dynamic_cast<const MacElement*>(&other);
  if (element == nullptr) return false;
  if (object() == nullptr || element->object() == nullptr) return object() == element->object();
  return CFEqual(object(), element->object());
}

std::size_t MacElement::hash() const {
  return object() == nullptr ? 0 : CFHash(object());
}

bool MacElement::isApplication() const {
  if (isSystemWide_ || processIdentifier_ == 0) return false;
  const auto application = CFRef<AXUIElementRef>::adopt(AXUIElementCreateApplication(processIdentifier_));
  return application && CFEqual(object(), application.get());
}

void MacElement::setTimeout(Seconds timeout) const {
  const auto wanted = static_cast<float>(timeout.count());
  // The system-wide object's is everybody's, so that another handle may have changed it.
  if (timeout_.exchange(wanted) == wanted && !isSystemWide_) return;
  (void)AXUIElementSetMessagingTimeout(object(), wanted);
}

}  // namespace tallyfox::mac_os
