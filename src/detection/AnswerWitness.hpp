#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <vector>

#include "platform/AccessibilityElements.hpp"

namespace tallyfox {

/// Passes every call on and notes which processes left one without an answer: they were too slow, or are not to be
/// asked. What was not seen of them may be there all the same. One thread.
class AnswerWitness : public AccessibilityElements {
 public:
  explicit AnswerWitness(AccessibilityElements& elements) : elements_(elements) {}

  [[nodiscard]] bool missedAnswersOf(std::int32_t processIdentifier) const {
    return silent_.contains(processIdentifier);
  }
  /// Of whichever process, known or not.
  [[nodiscard]] bool missedAnswers() const { return missedAny_; }

  std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element, AXAttribute attribute) override;
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                            const AXValue& value) override;
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element) override;
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) override;
  std::expected<std::int32_t, AXError> processIdentifier(const AXUIElement& element) override;
  void setMessagingTimeout(const AXUIElement& element, Seconds timeout) override;

 private:
  template <typename Answer>
  Answer noted(const AXUIElement& element, Answer answer);

  AccessibilityElements& elements_;
  std::set<std::int32_t> silent_;
  bool missedAny_ = false;
};

}  // namespace tallyfox
