#include "platform/linux/AtspiElement.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace tallyfox::linux_os {

AtspiElement::AtspiElement(Kind kind, std::int32_t processIdentifier, AtspiReference reference)
    : kind_(kind), processIdentifier_(processIdentifier), reference_(std::move(reference)) {}

AXUIElement AtspiElement::systemWide() {
  return AXUIElement(std::make_shared<AtspiElement>(Kind::systemWide, 0, AtspiReference{}));
}

AXUIElement AtspiElement::application(std::int32_t processIdentifier) {
  return AXUIElement(std::make_shared<AtspiElement>(Kind::application, processIdentifier, AtspiReference{}));
}

AXUIElement AtspiElement::object(AtspiReference reference, std::int32_t processIdentifier) {
  return AXUIElement(std::make_shared<AtspiElement>(Kind::object, processIdentifier, std::move(reference)));
}

AXUIElement AtspiElement::description(AtspiReference dialog, std::int32_t processIdentifier) {
  return AXUIElement(std::make_shared<AtspiElement>(Kind::description, processIdentifier, std::move(dialog)));
}

const AtspiElement* AtspiElement::of(const AXUIElement& element) {
  return dynamic_cast<const AtspiElement*>(&element.identity());
}

bool AtspiElement::isEqual(const AXElementIdentity& other) const {
  const auto* peer = dynamic_cast<const AtspiElement*>(&other);
  if (peer == nullptr || peer->kind_ != kind_) return false;
  if (kind_ == Kind::application) return peer->processIdentifier_ == processIdentifier_;
  return peer->reference_ == reference_;
}

std::size_t AtspiElement::hash() const {
  if (kind_ == Kind::object || kind_ == Kind::description) return std::hash<AtspiReference>()(reference_);
  return std::hash<std::int32_t>()(processIdentifier_);
}

}  // namespace tallyfox::linux_os
