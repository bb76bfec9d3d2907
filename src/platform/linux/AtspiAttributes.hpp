#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiElement.hpp"
#include "platform/linux/AtspiReading.hpp"

namespace tallyfox::linux_os {

/// The value of an attribute, from what a reading knows or then asks: the one place that says what an AX attribute is
/// in terms of AT-SPI and X.
class AtspiAttributes {
 public:
  using Value = std::expected<AXValue, AXError>;

  explicit AtspiAttributes(AtspiReading& reading) : reading_(reading) {}

  [[nodiscard]] Value copy(const AtspiElement& element, AXAttribute attribute);
  /// The element with the focus inside a window.
  [[nodiscard]] std::optional<AtspiReference> focusedIn(const AtspiReference& window);
  /// The window of the process that has the focus, or of whichever process has it.
  [[nodiscard]] std::optional<AtspiWindow> activeWindow(std::optional<std::int32_t> processIdentifier);

 private:
  [[nodiscard]] Value copyOfSystem(AXAttribute attribute);
  [[nodiscard]] Value copyOfApplication(std::int32_t processIdentifier, AXAttribute attribute);
  [[nodiscard]] Value copyOfObject(const AtspiReference& reference, AXAttribute attribute);
  [[nodiscard]] Value copyOfDescription(const AtspiReference& dialog, AXAttribute attribute);
  [[nodiscard]] Value windowsValue(std::int32_t processIdentifier);
  [[nodiscard]] Value windowValue(const std::optional<AtspiWindow>& window);
  [[nodiscard]] Value focusedElementValue(const std::optional<AtspiWindow>& window);
  [[nodiscard]] AXUIElement elementOf(const AtspiReference& reference);
  [[nodiscard]] std::vector<AXUIElement> elementsOf(const std::vector<AtspiReference>& references);

  /// How an object appears: what its role number means where it stands.
  enum class Appearance { window, sheet, other };
  [[nodiscard]] std::expected<Appearance, AXError> appearanceOf(const AtspiReference& reference);
  [[nodiscard]] std::expected<AtspiNature, AXError> natureOf(const AtspiReference& reference);

  /// What the object says of itself when it is a dialog that shows no text; empty otherwise.
  [[nodiscard]] std::string unshownMessage(const AtspiReference& reference);

  [[nodiscard]] Value role(const AtspiReference& reference);
  [[nodiscard]] Value subrole(const AtspiReference& reference);
  [[nodiscard]] Value title(const AtspiReference& reference);
  [[nodiscard]] Value description(const AtspiReference& reference);
  [[nodiscard]] Value value(const AtspiReference& reference);
  [[nodiscard]] Value modal(const AtspiReference& reference);
  [[nodiscard]] Value enabled(const AtspiReference& reference);
  [[nodiscard]] Value children(const AtspiReference& reference);
  [[nodiscard]] Value parent(const AtspiReference& reference);
  [[nodiscard]] Value frame(const AtspiReference& reference, AXAttribute attribute);
  [[nodiscard]] Value defaultButton(const AtspiReference& reference);
  [[nodiscard]] Value minimized(const AtspiReference& reference);
  [[nodiscard]] Value main(const AtspiReference& reference);
  [[nodiscard]] Value focused(const AtspiReference& reference);

  AtspiReading& reading_;
};

}  // namespace tallyfox::linux_os
