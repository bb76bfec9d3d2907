#include "detection/PromptReader.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "base/Limits.hpp"
#include "detection/ReadingOrder.hpp"

namespace tallyfox {

namespace {

constexpr std::array<std::string_view, 4> navigationRoles = {ax_role::toolbar, ax_role::outline, ax_role::tabGroup,
                                                             ax_role::sidebar};

/// The lines that say something of their own: not empty, not said before, not a button's label.
class MessageLines {
 public:
  explicit MessageLines(const std::vector<DialogButton>& buttons) {
    for (const DialogButton& button : buttons)
      taken_.insert(button.label);
  }
  /// Whether the text is new.
  bool takes(const std::string& text) { return !text.empty() && taken_.insert(text).second; }

 private:
  std::unordered_set<std::string> taken_;
};

/// After those of the same left edge.
void insertLeftToRight(std::vector<DialogButton>& buttons, DialogButton button) {
  const auto place = std::ranges::upper_bound(buttons, button.x, {}, &DialogButton::x);
  buttons.insert(place, std::move(button));
}

}  // namespace

std::vector<std::string> PromptContent::buttonLabels() const {
  std::vector<std::string> labels;
  labels.reserve(buttons.size());
  for (const DialogButton& button : buttons)
    labels.push_back(button.label);
  return labels;
}

const std::vector<AXAttribute>& PromptReader::attributes() {
  static const std::vector<AXAttribute> all = {AXAttribute::role,        AXAttribute::subrole,  AXAttribute::title,
                                               AXAttribute::description, AXAttribute::value,    AXAttribute::modal,
                                               AXAttribute::children,    AXAttribute::position, AXAttribute::size};
  return all;
}

bool PromptReader::isDialogContainer(const AXUIElement& element) const {
  return helpers_.role(element) == ax_role::sheet ||
         helpers_.stringAttribute(element, AXAttribute::subrole) == ax_subrole::dialog ||
         helpers_.boolAttribute(element, AXAttribute::modal) == true;
}

AXUIElement PromptReader::contentElement(const AXUIElement& window) const {
  if (isDialogContainer(window)) return window;
  const std::vector<AXUIElement> inside = helpers_.deeplyNestedChildren(window, limits::containerDescendants);
  const auto found =
      std::ranges::find_if(inside, [this](const AXUIElement& element) { return isDialogContainer(element); });
  return found == inside.end() ? window : *found;
}

std::optional<LiveButton> PromptReader::liveButton(const AXUIElement& element) const {
  auto label = helpers_.label(element);
  if (!label) return std::nullopt;
  const auto frame = helpers_.frame(element);
  if (!frame || !(frame->width > 0) || !(frame->height > 0)) return std::nullopt;
  return LiveButton{{*std::move(label), std::string(ax_role::button), frame->x, frame->y, frame->width, frame->height},
                    element};
}

std::vector<LiveButton> PromptReader::liveButtons(const AXUIElement& contentElement, int limit) const {
  std::vector<LiveButton> buttons;
  for (const AXUIElement& element : helpers_.deeplyNestedChildren(contentElement, limit)) {
    if (helpers_.role(element) != ax_role::button) continue;
    if (auto button = liveButton(element)) buttons.push_back(*std::move(button));
  }
  return buttons;
}

std::string PromptReader::title(const AXUIElement& window, const AXUIElement& contentElement) const {
  auto own = helpers_.stringAttribute(contentElement, AXAttribute::title).value_or("");
  return own.empty() ? helpers_.stringAttribute(window, AXAttribute::title).value_or("") : own;
}

std::string PromptReader::text(const AXUIElement& element) const {
  auto value = helpers_.stringAttribute(element, AXAttribute::value).value_or("");
  return value.empty() ? helpers_.stringAttribute(element, AXAttribute::title).value_or("") : value;
}

PromptContent PromptReader::read(const AXUIElement& window, const AXUIElement& contentElement) const {
  PromptContent content{.element = contentElement,
                        .role = helpers_.role(contentElement),
                        .subrole = helpers_.stringAttribute(contentElement, AXAttribute::subrole).value_or(""),
                        .title = title(window, contentElement),
                        .isModal = helpers_.boolAttribute(contentElement, AXAttribute::modal).value_or(false),
                        .frame = helpers_.frame(contentElement),
                        .buttons = {},
                        .messageLines = {}};
  if (!content.frame) content.frame = helpers_.frame(window);

  std::vector<AXUIElement> texts;
  for (const AXUIElement& element : helpers_.deeplyNestedChildren(contentElement, limits::contentDescendants)) {
    const std::string role = helpers_.role(element);
    if (role == ax_role::button) {
      if (auto live = liveButton(element)) insertLeftToRight(content.buttons, std::move(live->button));
    } else if (role == ax_role::staticText) {
      texts.push_back(element);
    } else if (std::ranges::find(navigationRoles, std::string_view(role)) != navigationRoles.end()) {
      content.hasNavigationChrome = true;
    }
  }

  MessageLines wanted(content.buttons);
  std::vector<TextLine> lines;
  for (const AXUIElement& element : texts) {
    if (std::string line = text(element); wanted.takes(line))
      lines.push_back({std::move(line), helpers_.frame(element)});
  }
  content.messageLines = inReadingOrder(std::move(lines));
  return content;
}

}  // namespace tallyfox
