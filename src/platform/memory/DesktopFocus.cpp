#include <algorithm>

#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

namespace {

bool contains(const DialogFrame& frame, AXPoint point) {
  return point.x >= frame.x && point.x < frame.x + frame.width && point.y >= frame.y &&
         point.y < frame.y + frame.height;
}

}  // namespace

void DesktopModel::raise(ElementID window) {
  std::erase(stacking_, window);
  stacking_.insert(stacking_.begin(), window);
}

void DesktopModel::focusWindow(ElementID window) {
  setFocusedWindow(window);
  setMainWindow(window);
  activate(element(window).processIdentifier);
}

void DesktopModel::focusElement(ElementID id) {
  const std::int32_t pid = element(id).processIdentifier;
  if (!isWithin(id, applications.at(pid).focusedWindow)) setFocusedWindow(windowOf(id));
  applications.at(pid).focusedElement = id;
}

void DesktopModel::setFocusedWindow(ElementID window) {
  const std::int32_t pid = element(window).processIdentifier;
  DesktopApplication& application = applications.at(pid);
  if (application.focusedWindow == window) return;
  application.focusedWindow = window;
  if (!isWithin(application.focusedElement, window)) application.focusedElement = 0;
  notify(pid, "AXFocusedWindowChanged");
}

void DesktopModel::setMainWindow(ElementID window) {
  const std::int32_t pid = element(window).processIdentifier;
  DesktopApplication& application = applications.at(pid);
  if (application.mainWindow == window) return;
  application.mainWindow = window;
  notify(pid, "AXMainWindowChanged");
}

void DesktopModel::activate(std::int32_t pid) {
  if (frontmost == pid) return;
  frontmost = pid;
  notify(pid, "AXApplicationActivated");
  events.post({WorkspaceEventKind::activated, pid});
}

void DesktopModel::setMinimized(ElementID window, bool minimized) {
  DesktopElement& changed = element(window);
  if (changed.isMinimized == minimized) return;
  changed.isMinimized = minimized;
  notify(changed.processIdentifier, minimized ? "AXWindowMiniaturized" : "AXWindowDeminiaturized");
  settleFocus(changed.processIdentifier);
}

bool DesktopModel::canHaveFocus(ElementID window) const {
  return exists(window) && !element(windowOf(window)).isMinimized && element(windowOf(window)).layer >= 0;
}

void DesktopModel::settleFocus(std::int32_t pid) {
  const std::vector<ElementID> windows = windowsFrontToBack();
  if (const auto found = applications.find(pid); found != applications.end()) {
    DesktopApplication& application = found->second;
    if (canHaveFocus(application.focusedWindow)) {
      if (!canHaveFocus(application.mainWindow)) setMainWindow(windowOf(application.focusedWindow));
      return;
    }
    const auto next = std::ranges::find_if(
        windows, [&](ElementID window) { return canHaveFocus(window) && element(window).processIdentifier == pid; });
    if (next != windows.end()) {
      setFocusedWindow(*next);
      return setMainWindow(*next);
    }
    application.focusedWindow = application.mainWindow = application.focusedElement = 0;
  }
  if (frontmost != pid) return;
  const auto next = std::ranges::find_if(windows, [&](ElementID window) { return canHaveFocus(window); });
  if (next != windows.end()) return focusWindow(*next);
  if (!applications.contains(pid)) frontmost = 0;
}

std::vector<ElementID> DesktopModel::windowsFrontToBack() const {
  std::vector<ElementID> windows;
  const auto layer = [&](ElementID window) { return element(window).layer; };
  for (const ElementID window : stacking_)
    windows.insert(std::ranges::upper_bound(windows, layer(window), std::ranges::greater{}, layer), window);
  return windows;
}

ElementID DesktopModel::windowAt(AXPoint point) const {
  for (const ElementID window : windowsFrontToBack()) {
    const std::optional<DialogFrame> bounds = frame(window);
    if (!element(window).isMinimized && bounds && contains(*bounds, point)) return window;
  }
  return 0;
}

ElementID DesktopModel::elementAt(AXPoint point) const {
  const ElementID window = windowAt(point);
  return window == 0 ? 0 : deepestAt(window, point);
}

/// Later siblings lie over earlier ones; an element without a frame only holds others.
ElementID DesktopModel::deepestAt(ElementID id, AXPoint point) const {
  const std::optional<DialogFrame> bounds = frame(id);
  if (bounds && !contains(*bounds, point)) return 0;
  const std::vector<ElementID>& children = element(id).children;
  for (auto child = children.rbegin(); child != children.rend(); ++child)
    if (const ElementID hit = deepestAt(*child, point); hit != 0) return hit;
  return bounds ? id : 0;
}

}  // namespace tallyfox::memory
