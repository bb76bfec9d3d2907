#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiElement.hpp"
#include "platform/linux/AtspiReading.hpp"

namespace tallyfox::linux_os {

/// What changes something: actions, focus, and the state of windows. Every call asks and acts anew.
class AtspiActions {
 public:
  using Outcome = std::expected<void, AXError>;

  /// `reading` knows nothing yet.
  explicit AtspiActions(AtspiReading& reading) : reading_(reading) {}

  [[nodiscard]] std::expected<std::vector<std::string>, AXError> names(const AtspiElement& element);
  Outcome perform(const AtspiElement& element, std::string_view action);
  Outcome set(const AtspiElement& element, AXAttribute attribute, const AXValue& value);

 private:
  /// The place of the action that presses, among an object's actions.
  [[nodiscard]] std::expected<std::int32_t, AXError> pressIndex(const AtspiReference& reference);
  [[nodiscard]] std::expected<bool, AXError> answerOf(AtspiCall call);
  /// Not in a window that waits for an answer to a modal dialog of its own: what nobody could click, because the press
  /// that opened the dialog is still under way, is not pressed a second time.
  Outcome press(const AtspiReference& reference);
  [[nodiscard]] bool isBlocked(const AtspiReference& reference);
  Outcome activate(const AtspiReference& windowOrPart);
  Outcome activateApplication(std::int32_t processIdentifier);
  Outcome grabFocus(const AtspiReference& reference);
  Outcome setOfApplication(std::int32_t processIdentifier, AXAttribute attribute, const AXValue& value);
  Outcome setOfObject(const AtspiReference& reference, AXAttribute attribute, bool value);

  AtspiReading& reading_;
};

}  // namespace tallyfox::linux_os
