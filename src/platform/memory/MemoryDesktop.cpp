#include "platform/memory/MemoryDesktop.hpp"

#include <mutex>
#include <utility>

#include "platform/memory/DesktopAccessibility.hpp"
#include "platform/memory/DesktopInput.hpp"
#include "platform/memory/DesktopModel.hpp"
#include "platform/memory/DesktopWorkspace.hpp"

namespace tallyfox::memory {

struct MemoryDesktop::State {
  State(Clock& clock, SerialQueue& mainQueue)
      : model(std::make_shared<DesktopModel>(mainQueue)),
        accessibility(*model, clock, mainQueue),
        workspace(model, mainQueue),
        input(std::make_shared<DesktopInput>(*model)) {}

  [[nodiscard]] std::scoped_lock<std::recursive_mutex> lock() const {
    return std::scoped_lock<std::recursive_mutex>(model->mutex);
  }

  std::shared_ptr<DesktopModel> model;
  DesktopAccessibility accessibility;
  DesktopWorkspace workspace;
  std::shared_ptr<DesktopInput> input;
};

MemoryDesktop::MemoryDesktop(Clock& clock, SerialQueue& mainQueue)
    : state_(std::make_shared<State>(clock, mainQueue)) {}

MemoryDesktop::~MemoryDesktop() = default;

Accessibility& MemoryDesktop::accessibility() {
  return state_->accessibility;
}
AccessibilityElements& MemoryDesktop::elements() {
  return state_->accessibility;
}
AccessibilityObservers& MemoryDesktop::observers() {
  return state_->workspace;
}
Applications& MemoryDesktop::applications() {
  return state_->workspace;
}
WindowList& MemoryDesktop::windowList() {
  return state_->workspace;
}
SyntheticInput& MemoryDesktop::input() {
  return *state_->input;
}

void MemoryDesktop::setTrusted(bool trusted) {
  const auto lock = state_->lock();
  if (std::exchange(state_->model->isTrusted, trusted) != trusted) state_->model->events.postTrustChange();
}

std::int32_t MemoryDesktop::launch(const std::string& name, std::optional<std::string> bundleIdentifier,
                                   bool isRegular) {
  const auto lock = state_->lock();
  return state_->model->launch(name, std::move(bundleIdentifier), isRegular);
}

void MemoryDesktop::quit(std::int32_t pid) {
  const auto lock = state_->lock();
  state_->model->quit(pid);
}

void MemoryDesktop::postWorkspaceEvent(const WorkspaceEvent& event) {
  const auto lock = state_->lock();
  state_->model->events.post(event);
}

void MemoryDesktop::postNotification(std::int32_t pid, const std::string& notification) {
  const auto lock = state_->lock();
  state_->model->events.post(pid, notification);
}

ElementID MemoryDesktop::openWindow(std::int32_t pid, const ElementSpec& window) {
  const auto lock = state_->lock();
  return state_->model->openWindow(pid, window);
}

void MemoryDesktop::closeWindow(ElementID window) {
  const auto lock = state_->lock();
  state_->model->remove(window);
}

ElementID MemoryDesktop::addChild(ElementID parent, const ElementSpec& child) {
  const auto lock = state_->lock();
  return state_->model->addChild(parent, child);
}

void MemoryDesktop::removeElement(ElementID element) {
  const auto lock = state_->lock();
  state_->model->remove(element);
}

void MemoryDesktop::setTitle(ElementID element, std::optional<std::string> title) {
  setAttribute(element, AXAttribute::title, std::move(title));
}

void MemoryDesktop::setDescription(ElementID element, std::optional<std::string> description) {
  setAttribute(element, AXAttribute::description, std::move(description));
}

void MemoryDesktop::setValue(ElementID element, std::optional<std::string> value) {
  setAttribute(element, AXAttribute::value, std::move(value));
}

void MemoryDesktop::setFrame(ElementID element, std::optional<DialogFrame> frame) {
  const auto lock = state_->lock();
  if (frame) return state_->model->place(element, *frame);
  setAttribute(element, AXAttribute::position, std::nullopt);
  setAttribute(element, AXAttribute::size, std::nullopt);
}

void MemoryDesktop::setEnabled(ElementID element, std::optional<bool> enabled) {
  setAttribute(element, AXAttribute::enabled, enabled);
}

void MemoryDesktop::setAttribute(ElementID element, AXAttribute attribute, std::optional<AXValue> value) {
  const auto lock = state_->lock();
  state_->model->assign(element, attribute, std::move(value));
}

void MemoryDesktop::raise(ElementID window) {
  const auto lock = state_->lock();
  state_->model->raise(window);
}

void MemoryDesktop::focusWindow(ElementID window) {
  const auto lock = state_->lock();
  state_->model->focusWindow(window);
}

void MemoryDesktop::focusElement(ElementID element) {
  const auto lock = state_->lock();
  state_->model->focusElement(element);
}

void MemoryDesktop::setMinimized(ElementID window, bool minimized) {
  const auto lock = state_->lock();
  state_->model->setMinimized(window, minimized);
}

void MemoryDesktop::setWindowAlpha(ElementID window, double alpha) {
  const auto lock = state_->lock();
  state_->model->element(window).alpha = alpha;
}

void MemoryDesktop::setWindowLayer(ElementID window, std::int64_t layer) {
  const auto lock = state_->lock();
  state_->model->element(window).layer = layer;
}

void MemoryDesktop::onPress(ElementID button, std::function<void()> effect) {
  const auto lock = state_->lock();
  state_->model->element(button).onPress = std::move(effect);
}

void MemoryDesktop::setPressEffect(ElementID button, PressEffect effect) {
  const auto lock = state_->lock();
  DesktopElement& element = state_->model->element(button);
  element.onPress = nullptr;
  element.effect = effect;
}

void MemoryDesktop::setFault(std::int32_t pid, Fault fault) {
  const auto lock = state_->lock();
  state_->model->applications.at(pid).fault = fault;
}

void MemoryDesktop::heed(std::int32_t pid, bool accessibilityActions, bool keys, bool mouse) {
  const auto lock = state_->lock();
  DesktopApplication& application = state_->model->applications.at(pid);
  application.heedsActions = accessibilityActions;
  application.heedsKeys = keys;
  application.heedsMouse = mouse;
}

void MemoryDesktop::failEventCreation(bool fails) {
  const auto lock = state_->lock();
  state_->input->failsCreation = fails;
}

void MemoryDesktop::onMessage(std::function<std::optional<AXError>(const Message&)> hook) {
  const auto lock = state_->lock();
  state_->model->onMessage = std::move(hook);
}

void MemoryDesktop::onTouch(std::function<void(const Touch&)> hook) {
  const auto lock = state_->lock();
  state_->model->onTouch = std::move(hook);
}

void MemoryDesktop::stopWindowServer() {
  const auto lock = state_->lock();
  state_->model->isWindowServerGone = true;
}

ElementID MemoryDesktop::find(ElementID root, const std::string& role, const std::string& titleOrDescription) const {
  const auto lock = state_->lock();
  const DesktopModel& model = *state_->model;
  if (!model.exists(root)) return 0;
  if (model.text(root, AXAttribute::role) == role && model.label(root) == titleOrDescription) return root;
  for (const ElementID child : model.element(root).children)
    if (const ElementID found = find(child, role, titleOrDescription); found != 0) return found;
  return 0;
}

bool MemoryDesktop::exists(ElementID element) const {
  const auto lock = state_->lock();
  return state_->model->exists(element);
}

AXUIElement MemoryDesktop::element(ElementID element) const {
  const auto lock = state_->lock();
  return state_->model->handle(element);
}

AXUIElement MemoryDesktop::application(std::int32_t pid) const {
  return state_->accessibility.applicationElement(pid);
}

const DeedLog& MemoryDesktop::deeds() const {
  return state_->model->deeds;
}

const std::vector<std::string>& MemoryDesktop::presses() const {
  return state_->model->presses;
}

std::vector<std::string> MemoryDesktop::input(std::int32_t pid) const {
  const auto lock = state_->lock();
  const auto found = state_->model->input.find(pid);
  return found == state_->model->input.end() ? std::vector<std::string>() : found->second;
}

MemoryDesktop::Traffic MemoryDesktop::traffic() const {
  const auto lock = state_->lock();
  return state_->accessibility.traffic;
}

void MemoryDesktop::resetTraffic() {
  const auto lock = state_->lock();
  state_->accessibility.traffic = {};
}

void MemoryDesktop::clearDeeds() {
  const auto lock = state_->lock();
  state_->model->deeds.clear();
  state_->model->presses.clear();
}

}  // namespace tallyfox::memory
