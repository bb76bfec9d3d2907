#pragma once

#include <optional>
#include <string>
#include <vector>

#include "detection/AXHelpers.hpp"
#include "model/DialogButton.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox {

/// A button that can be shown and pressed, with the element that it was read from.
struct LiveButton {
  DialogButton button;
  AXUIElement element;
};

/// What one window shows of a prompt.
struct PromptContent {
  AXUIElement element;  ///< the dialog container inside the window, else the window itself
  std::string role;
  std::string subrole;
  std::string title;
  bool isModal = false;
  std::optional<DialogFrame> frame;
  std::vector<DialogButton> buttons;      ///< left to right
  std::vector<std::string> messageLines;  ///< reading order
  bool hasNavigationChrome = false;

  [[nodiscard]] std::vector<std::string> buttonLabels() const;
};

/// Reads windows as prompts. Stateless but for the seams; any thread.
class PromptReader {
 public:
  explicit PromptReader(const AXHelpers& helpers) : helpers_(helpers) {}

  /// Every attribute that the reader reads of a window and its descendants.
  [[nodiscard]] static const std::vector<AXAttribute>& attributes();
  /// The window itself when it is a dialog, else the first dialog or sheet inside it, else the window.
  [[nodiscard]] AXUIElement contentElement(const AXUIElement& window) const;
  [[nodiscard]] PromptContent read(const AXUIElement& window, const AXUIElement& contentElement) const;
  /// The labelled buttons of some size among the first `limit` descendants, as the walk finds them.
  [[nodiscard]] std::vector<LiveButton> liveButtons(const AXUIElement& contentElement, int limit) const;

 private:
  [[nodiscard]] bool isDialogContainer(const AXUIElement& element) const;
  [[nodiscard]] std::optional<LiveButton> liveButton(const AXUIElement& element) const;
  [[nodiscard]] std::string title(const AXUIElement& window, const AXUIElement& contentElement) const;
  [[nodiscard]] std::string text(const AXUIElement& element) const;

  AXHelpers helpers_;
};

}  // namespace tallyfox
