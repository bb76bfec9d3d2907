#include "platform/memory/DesktopInput.hpp"

#include <algorithm>
#include <ranges>
#include <sstream>
#include <utility>

namespace tallyfox::memory {

namespace {

template <typename Event>
class MemoryEvent : public SyntheticEvent {
 public:
  MemoryEvent(std::weak_ptr<DesktopInput> input, Event event) : input_(std::move(input)), event_(event) {}
  void postToProcess(std::int32_t processIdentifier) override { post(processIdentifier); }
  void postGlobally() override { post(std::nullopt); }

 private:
  void post(std::optional<std::int32_t> pid) {
    if (const auto input = std::exchange(input_, {}).lock()) input->deliver(event_, pid);
  }

  std::weak_ptr<DesktopInput> input_;  ///< empty once posted
  Event event_;
};

std::string target(std::optional<std::int32_t> pid) {
  return pid ? "pid " + std::to_string(*pid) : "global";
}

std::string_view name(MouseEventKind kind) {
  switch (kind) {
    case MouseEventKind::moved:
      return "moved";
    case MouseEventKind::leftDown:
      return "leftDown";
    case MouseEventKind::leftUp:
      return "leftUp";
  }
  return {};
}

}  // namespace

std::unique_ptr<SyntheticEvent> DesktopInput::createKeyEvent(const KeyEvent& event) {
  const std::scoped_lock lock(model_.mutex);
  if (failsCreation) return nullptr;
  return std::make_unique<MemoryEvent<KeyEvent>>(weak_from_this(), event);
}

std::unique_ptr<SyntheticEvent> DesktopInput::createMouseEvent(const MouseEvent& event) {
  const std::scoped_lock lock(model_.mutex);
  if (failsCreation) return nullptr;
  return std::make_unique<MemoryEvent<MouseEvent>>(weak_from_this(), event);
}

bool DesktopInput::answers(std::int32_t pid) const {
  const auto found = model_.applications.find(pid);
  return found != model_.applications.end() && found->second.fault != Fault::hang;
}

/// The button that this key means in the window with the focus; its sheet goes before the window.
ElementID DesktopInput::buttonFor(KeyCode key, std::int32_t pid) const {
  const DesktopApplication& application = model_.applications.at(pid);
  if (key == KeyCode::space) return application.focusedElement;
  if (!model_.exists(application.focusedWindow)) return 0;
  const DesktopElement& window = model_.element(application.focusedWindow);
  const auto sheet = std::ranges::find_if(std::views::reverse(window.children),
                                          [&](ElementID child) { return model_.isContainer(child); });
  const DesktopElement& container = sheet == window.children.rend() ? window : model_.element(*sheet);
  return key == KeyCode::returnKey ? container.defaultButton : container.cancelButton;
}

/// Space presses when it is let go, Return and Escape when they go down, as in most toolkits.
void DesktopInput::deliver(const KeyEvent& event, std::optional<std::int32_t> pid) {
  const std::scoped_lock lock(model_.mutex);
  const std::string stroke = std::to_string(std::to_underlying(event.key)) + (event.isDown ? " down" : " up");
  model_.deeds.push_back("key " + stroke + " " + target(pid));
  const std::int32_t receiver = pid.value_or(model_.frontmost);
  if (!model_.applications.contains(receiver)) return;
  ElementID button = buttonFor(event.key, receiver);
  if (!model_.exists(button) || model_.text(button, AXAttribute::role) != ax_role::button) button = 0;
  if (model_.onTouch) model_.onTouch({Touch::Kind::key, stroke, button});
  if (!answers(receiver)) return;
  model_.input[receiver].push_back("key " + stroke);
  if (!model_.applications.at(receiver).heedsKeys) return;
  if (event.key == KeyCode::space) {
    const ElementID held = std::exchange(heldBySpace_, event.isDown ? button : 0);
    if (event.isDown || held != button) return;
  } else if (!event.isDown) {
    return;
  }
  if (button != 0) static_cast<void>(model_.press(button));
}

ElementID DesktopInput::buttonAt(AXPoint point) const {
  for (ElementID id = model_.elementAt(point); model_.exists(id); id = model_.element(id).parent)
    if (model_.text(id, AXAttribute::role) == ax_role::button) return id;
  return 0;
}

void DesktopInput::deliver(const MouseEvent& event, std::optional<std::int32_t> pid) {
  const std::scoped_lock lock(model_.mutex);
  std::ostringstream deed;
  deed << "mouse " << name(event.kind) << ' ' << event.position.x << ',' << event.position.y;
  model_.deeds.push_back(deed.str() + " " + target(pid));
  const ElementID window = model_.windowAt(event.position);
  const std::int32_t owner = window == 0 ? 0 : model_.element(window).processIdentifier;
  if (model_.onTouch) model_.onTouch({Touch::Kind::mouse, std::string(name(event.kind)), buttonAt(event.position)});
  if (!answers(owner) || pid.value_or(owner) != owner) return;
  model_.input[owner].push_back(deed.str());
  if (!model_.applications.at(owner).heedsMouse) return;
  const ElementID button = buttonAt(event.position);
  if (event.kind == MouseEventKind::leftDown) {
    heldByMouse_ = button;
    model_.raise(window);
    model_.focusWindow(window);
  }
  if (event.kind != MouseEventKind::leftUp) return;
  if (std::exchange(heldByMouse_, 0) == button && button != 0) static_cast<void>(model_.press(button));
}

}  // namespace tallyfox::memory
