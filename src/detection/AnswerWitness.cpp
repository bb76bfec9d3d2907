#include "detection/AnswerWitness.hpp"

namespace tallyfox {

template <typename Answer>
Answer AnswerWitness::noted(const AXUIElement& element, Answer answer) {
  const bool isMissing =
      !answer && (answer.error() == AXError::cannotComplete || answer.error() == AXError::notTrusted);
  if (!isMissing) return answer;
  missedAny_ = true;
  if (const auto process = elements_.processIdentifier(element)) silent_.insert(*process);
  return answer;
}

std::expected<AXValue, AXError> AnswerWitness::copyAttribute(const AXUIElement& element, AXAttribute attribute) {
  return noted(element, elements_.copyAttribute(element, attribute));
}

std::expected<void, AXError> AnswerWitness::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                         const AXValue& value) {
  return noted(element, elements_.setAttribute(element, attribute, value));
}

std::expected<std::vector<std::string>, AXError> AnswerWitness::copyActionNames(const AXUIElement& element) {
  return noted(element, elements_.copyActionNames(element));
}

std::expected<void, AXError> AnswerWitness::performAction(const AXUIElement& element, std::string_view action) {
  return noted(element, elements_.performAction(element, action));
}

std::expected<std::int32_t, AXError> AnswerWitness::processIdentifier(const AXUIElement& element) {
  return elements_.processIdentifier(element);
}

void AnswerWitness::setMessagingTimeout(const AXUIElement& element, Seconds timeout) {
  elements_.setMessagingTimeout(element, timeout);
}

}  // namespace tallyfox
