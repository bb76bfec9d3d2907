#include <algorithm>
#include <array>

#include "platform/memory/MemoryDesktop.hpp"

namespace tallyfox::memory {

namespace {

constexpr double margin = 20;
constexpr double lineHeight = 18;
constexpr double lineDistance = 22;
constexpr double buttonHeight = 24;
constexpr double buttonWidth = 100;
constexpr double buttonGap = 12;

bool isCancelLabel(const std::string& label) {
  static constexpr std::array<std::string_view, 4> labels = {"Cancel", "Don't Allow", "Don’t Allow", "Deny"};
  return std::ranges::find(labels, label) != labels.end();
}

ElementSpec textLine(const std::string& text, DialogFrame frame) {
  ElementSpec line;
  line.role = ax_role::staticText;
  line.value = text;
  line.frame = frame;
  return line;
}

ElementSpec pushButton(const std::string& label, DialogFrame frame) {
  ElementSpec button;
  button.role = ax_role::button;
  button.title = label;
  button.frame = frame;
  button.enabled = true;
  button.actions = {std::string(ax_action::press)};
  return button;
}

}  // namespace

ElementSpec messageBox(const std::string& title, const std::vector<std::string>& lines,
                       const std::vector<std::string>& buttons, DialogFrame frame) {
  ElementSpec box;
  box.role = ax_role::window;
  box.subrole = ax_subrole::dialog;
  box.title = title;
  box.modal = true;
  box.frame = frame;
  box.actions = {std::string(ax_action::raise)};
  const double inner = frame.width - 2 * margin;
  double y = frame.y + margin;
  for (const std::string& line : lines) {
    box.children.push_back(textLine(line, {frame.x + margin, y, inner, lineHeight}));
    y += lineDistance;
  }
  const auto count = static_cast<double>(buttons.size());
  const double width = std::min(buttonWidth, (inner - buttonGap * (count - 1)) / std::max(count, 1.0));
  double x = frame.x + frame.width - margin - count * width - (count - 1) * buttonGap;
  for (const std::string& label : buttons) {
    ElementSpec button = pushButton(label, {x, frame.y + frame.height - margin - buttonHeight, width, buttonHeight});
    button.isCancelButton = isCancelLabel(label);
    box.children.push_back(std::move(button));
    x += width + buttonGap;
  }
  // Return means the last button that does not cancel.
  const auto isDefault = [](const ElementSpec& child) {
    return child.role == ax_role::button && !child.isCancelButton;
  };
  const auto last = std::find_if(box.children.rbegin(), box.children.rend(), isDefault);
  if (last != box.children.rend()) last->isDefaultButton = true;
  return box;
}

}  // namespace tallyfox::memory
