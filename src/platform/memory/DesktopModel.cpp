#include "platform/memory/DesktopModel.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Require.hpp"

namespace tallyfox::memory {

const MemoryElementIdentity& MemoryElementIdentity::of(const AXUIElement& element) {
  const auto* identity = dynamic_cast<const MemoryElementIdentity*>(&element.identity());
  require(identity != nullptr, "an element of another backend");
  return *identity;
}

bool MemoryElementIdentity::isEqual(const AXElementIdentity& other) const {
  const auto* identity = dynamic_cast<const MemoryElementIdentity*>(&other);
  return identity != nullptr && std::is_eq(*this <=> *identity);
}

AXUIElement MemoryElementIdentity::systemWide() {
  return AXUIElement(std::make_shared<MemoryElementIdentity>(Kind::systemWide, 0, 0));
}

AXUIElement MemoryElementIdentity::application(std::int32_t pid) {
  return AXUIElement(std::make_shared<MemoryElementIdentity>(Kind::application, static_cast<ElementID>(pid), pid));
}

AXUIElement MemoryElementIdentity::element(ElementID id, std::int32_t pid) {
  return AXUIElement(std::make_shared<MemoryElementIdentity>(Kind::element, id, pid));
}

DesktopModel::DesktopModel(SerialQueue& mainQueue) : events(mainQueue) {
  applications[ownProcessIdentifier].record = {.processIdentifier = ownProcessIdentifier,
                                               .bundleIdentifier = "com.tallyfox.agent",
                                               .localizedName = "Tallyfox",
                                               .isTerminated = false,
                                               .isRegular = false};
}

std::int32_t DesktopModel::launch(const std::string& name, std::optional<std::string> bundleIdentifier,
                                  bool isRegular) {
  const std::int32_t pid = nextProcess_++;
  applications[pid].record = {.processIdentifier = pid,
                              .bundleIdentifier = std::move(bundleIdentifier),
                              .localizedName = name,
                              .isTerminated = false,
                              .isRegular = isRegular};
  events.post({WorkspaceEventKind::launched, pid});
  return pid;
}

void DesktopModel::quit(std::int32_t pid) {
  if (!applications.contains(pid)) return;
  for (const ElementID window : windowsFrontToBack())
    if (element(window).processIdentifier == pid) erase(window);
  applications.erase(pid);
  events.post({WorkspaceEventKind::terminated, pid});
  if (frontmost == pid) settleFocus(pid);
}

ElementID DesktopModel::openWindow(std::int32_t pid, const ElementSpec& spec) {
  require(applications.contains(pid), "a window needs a running application");
  const ElementID window = create(pid, 0, spec);
  stacking_.insert(stacking_.begin(), window);
  notify(pid, "AXWindowCreated");
  focusWindow(window);
  return window;
}

ElementID DesktopModel::addChild(ElementID parent, const ElementSpec& spec) {
  const std::int32_t pid = element(parent).processIdentifier;
  const ElementID child = create(pid, parent, spec);
  element(parent).children.push_back(child);
  if (spec.role == ax_role::sheet) notify(pid, "AXSheetCreated");
  return child;
}

ElementID DesktopModel::create(std::int32_t pid, ElementID parent, const ElementSpec& spec) {
  const ElementID id = nextElement_++;
  DesktopElement& made = elements[id];
  made.processIdentifier = pid;
  made.parent = parent;
  made.actions = spec.actions;
  made.effect = spec.role == ax_role::button ? PressEffect::closeWindow : PressEffect::nothing;
  auto& attributes = made.attributes;
  attributes[AXAttribute::role] = spec.role;
  if (spec.subrole) attributes[AXAttribute::subrole] = *spec.subrole;
  if (spec.title) attributes[AXAttribute::title] = *spec.title;
  if (spec.description) attributes[AXAttribute::description] = *spec.description;
  if (spec.value) attributes[AXAttribute::value] = *spec.value;
  if (spec.modal) attributes[AXAttribute::modal] = *spec.modal;
  if (spec.enabled) attributes[AXAttribute::enabled] = *spec.enabled;
  if (spec.frame) {
    attributes[AXAttribute::position] = AXPoint{spec.frame->x, spec.frame->y};
    attributes[AXAttribute::size] = AXSize{spec.frame->width, spec.frame->height};
  }
  if (spec.isDefaultButton) element(containerOf(id)).defaultButton = id;
  if (spec.isCancelButton) element(containerOf(id)).cancelButton = id;
  for (const ElementSpec& child : spec.children)
    made.children.push_back(create(pid, id, child));
  return id;
}

void DesktopModel::remove(ElementID id) {
  if (!exists(id)) return;
  const std::int32_t pid = element(id).processIdentifier;
  const bool isTold = isContainer(id);
  erase(id);
  if (isTold) notify(pid, "AXUIElementDestroyed");
  settleFocus(pid);
}

void DesktopModel::erase(ElementID id) {
  const auto taken = elements.extract(id);
  const DesktopElement& gone = taken.mapped();
  for (const ElementID child : gone.children)
    erase(child);
  if (exists(gone.parent)) std::erase(element(gone.parent).children, id);
  std::erase(stacking_, id);
  DesktopApplication& application = applications.at(gone.processIdentifier);
  if (application.focusedElement == id) application.focusedElement = 0;
  // A sheet hands the focus back to its window.
  if (application.focusedWindow == id) application.focusedWindow = exists(gone.parent) ? windowOf(gone.parent) : 0;
  if (application.mainWindow == id) application.mainWindow = 0;
}

void DesktopModel::assign(ElementID id, AXAttribute attribute, std::optional<AXValue> value) {
  DesktopElement& changed = element(id);
  std::optional<AXValue>& held = changed.attributes[attribute];
  const bool isNewTitle = attribute == AXAttribute::title && held != value;
  held = std::move(value);
  if (isNewTitle && isContainer(id)) notify(changed.processIdentifier, "AXTitleChanged");
}

void DesktopModel::place(ElementID id, const DialogFrame& target) {
  if (const auto before = frame(id); before && isContainer(id))
    for (const ElementID child : element(id).children)
      moveBy(child, target.x - before->x, target.y - before->y);
  assign(id, AXAttribute::position, AXPoint{target.x, target.y});
  assign(id, AXAttribute::size, AXSize{target.width, target.height});
}

void DesktopModel::moveBy(ElementID id, double x, double y) {
  if (const auto before = frame(id)) assign(id, AXAttribute::position, AXPoint{before->x + x, before->y + y});
  for (const ElementID child : element(id).children)
    moveBy(child, x, y);
}

/// A program that hangs tells nothing.
void DesktopModel::notify(std::int32_t pid, const std::string& notification) const {
  if (isTrusted && applications.at(pid).fault != Fault::hang) events.post(pid, notification);
}

AXUIElement DesktopModel::handle(ElementID id) const {
  return MemoryElementIdentity::element(id, exists(id) ? element(id).processIdentifier : 0);
}

std::string DesktopModel::text(ElementID id, AXAttribute attribute) const {
  const auto value = readElement(id, attribute);
  const auto* string = value ? std::get_if<std::string>(&*value) : nullptr;
  return string != nullptr ? *string : std::string();
}

std::string DesktopModel::label(ElementID id) const {
  const std::string title = text(id, AXAttribute::title);
  return title.empty() ? text(id, AXAttribute::description) : title;
}

std::optional<DialogFrame> DesktopModel::frame(ElementID id) const {
  const auto position = readElement(id, AXAttribute::position);
  const auto size = readElement(id, AXAttribute::size);
  const auto* origin = position ? std::get_if<AXPoint>(&*position) : nullptr;
  const auto* extent = size ? std::get_if<AXSize>(&*size) : nullptr;
  if (origin == nullptr || extent == nullptr) return std::nullopt;
  return DialogFrame{origin->x, origin->y, extent->width, extent->height};
}

bool DesktopModel::isContainer(ElementID id) const {
  const std::string role = text(id, AXAttribute::role);
  return element(id).parent == 0 || role == ax_role::window || role == ax_role::sheet;
}

ElementID DesktopModel::containerOf(ElementID id) const {
  while (!isContainer(id))
    id = element(id).parent;
  return id;
}

ElementID DesktopModel::windowOf(ElementID id) const {
  while (element(id).parent != 0)
    id = element(id).parent;
  return id;
}

bool DesktopModel::isWithin(ElementID id, ElementID ancestor) const {
  for (; exists(id); id = element(id).parent)
    if (id == ancestor) return true;
  return false;
}

}  // namespace tallyfox::memory
