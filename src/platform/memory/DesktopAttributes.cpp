#include <algorithm>

#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

namespace {

using Kind = MemoryElementIdentity::Kind;

/// The element in `value` when it is one of the application's.
ElementID elementIn(const AXValue& value, std::int32_t pid) {
  const auto* held = std::get_if<AXUIElement>(&value);
  if (held == nullptr) return 0;
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(*held);
  return identity.kind == Kind::element && identity.processIdentifier == pid ? identity.id : 0;
}

}  // namespace

std::expected<AXValue, AXError> DesktopModel::read(const MemoryElementIdentity& identity, AXAttribute attribute) const {
  switch (identity.kind) {
    case Kind::systemWide:
      if (attribute != AXAttribute::focusedWindow && attribute != AXAttribute::focusedUIElement)
        return std::unexpected(AXError::unsupported);
      if (frontmost == 0) return std::unexpected(AXError::noValue);
      return readApplication(frontmost, attribute);
    case Kind::application:
      return readApplication(identity.processIdentifier, attribute);
    case Kind::element:
      return readElement(identity.id, attribute);
  }
  return std::unexpected(AXError::unsupported);
}

std::expected<AXValue, AXError> DesktopModel::handleOrNoValue(ElementID id) const {
  if (!exists(id)) return std::unexpected(AXError::noValue);
  return handle(id);
}

std::expected<AXValue, AXError> DesktopModel::readApplication(std::int32_t pid, AXAttribute attribute) const {
  const auto found = applications.find(pid);
  if (found == applications.end()) return std::unexpected(AXError::invalidElement);
  const DesktopApplication& application = found->second;
  switch (attribute) {
    case AXAttribute::role:
      return "AXApplication";
    case AXAttribute::title:
      return application.record.localizedName.value_or("");
    case AXAttribute::frontmost:
      return frontmost == pid;
    case AXAttribute::mainWindow:
      return handleOrNoValue(application.mainWindow);
    case AXAttribute::focusedWindow:
      return handleOrNoValue(application.focusedWindow);
    case AXAttribute::focusedUIElement:
      return handleOrNoValue(application.focusedElement != 0 ? application.focusedElement : application.focusedWindow);
    case AXAttribute::windows:
    case AXAttribute::children: {
      std::vector<AXUIElement> windows;
      for (const ElementID window : windowsFrontToBack())
        if (element(window).processIdentifier == pid) windows.push_back(handle(window));
      return windows;
    }
    default:
      return std::unexpected(AXError::unsupported);
  }
}

std::expected<AXValue, AXError> DesktopModel::readElement(ElementID id, AXAttribute attribute) const {
  if (!exists(id)) return std::unexpected(AXError::invalidElement);
  const DesktopElement& read = element(id);
  if (const auto held = read.attributes.find(attribute); held != read.attributes.end()) {
    if (!held->second) return std::unexpected(AXError::unsupported);
    return *held->second;
  }
  const DesktopApplication& application = applications.at(read.processIdentifier);
  const bool isWindow = read.parent == 0;
  switch (attribute) {
    case AXAttribute::children: {
      std::vector<AXUIElement> children;
      for (const ElementID child : read.children)
        children.push_back(handle(child));
      return children;
    }
    case AXAttribute::parent:
      if (!isWindow) return handle(read.parent);
      return MemoryElementIdentity::application(read.processIdentifier);
    case AXAttribute::focused:
      return application.focusedElement == id || application.focusedWindow == id;
    default:
      break;
  }
  if (attribute == AXAttribute::minimized && isWindow) return read.isMinimized;
  if (attribute == AXAttribute::main && isWindow) return application.mainWindow == id;
  if (attribute == AXAttribute::defaultButton && isContainer(id)) return handleOrNoValue(read.defaultButton);
  if (attribute == AXAttribute::cancelButton && isContainer(id)) return handleOrNoValue(read.cancelButton);
  return std::unexpected(AXError::unsupported);
}

Outcome DesktopModel::set(const MemoryElementIdentity& identity, AXAttribute attribute, const AXValue& value) {
  switch (identity.kind) {
    case Kind::systemWide:
      return std::unexpected(AXError::unsupported);
    case Kind::application:
      return setOfApplication(identity.processIdentifier, attribute, value);
    case Kind::element:
      return setOfElement(identity.id, attribute, value);
  }
  return std::unexpected(AXError::unsupported);
}

Outcome DesktopModel::setOfApplication(std::int32_t pid, AXAttribute attribute, const AXValue& value) {
  if (!applications.contains(pid)) return std::unexpected(AXError::invalidElement);
  if (attribute == AXAttribute::frontmost) {
    const bool* wanted = std::get_if<bool>(&value);
    if (wanted == nullptr) return std::unexpected(AXError::unsupported);
    if (!*wanted) return {};
    if (const ElementID window = applications.at(pid).focusedWindow; exists(window)) raise(windowOf(window));
    activate(pid);
    return {};
  }
  if (attribute != AXAttribute::focusedWindow && attribute != AXAttribute::focusedUIElement)
    return std::unexpected(AXError::unsupported);
  const ElementID target = elementIn(value, pid);
  if (target == 0) return std::unexpected(AXError::unsupported);
  return setOfElement(target, AXAttribute::focused, true);
}

Outcome DesktopModel::setOfElement(ElementID id, AXAttribute attribute, const AXValue& value) {
  if (!exists(id)) return std::unexpected(AXError::invalidElement);
  const bool* wanted = std::get_if<bool>(&value);
  const bool isWindow = element(id).parent == 0;
  if (wanted == nullptr) return std::unexpected(AXError::unsupported);
  if (attribute == AXAttribute::minimized && isWindow) {
    setMinimized(id, *wanted);
  } else if (attribute == AXAttribute::main && isWindow) {
    if (*wanted) setMainWindow(id);
  } else if (attribute == AXAttribute::focused) {
    if (*wanted && isContainer(id)) setFocusedWindow(id);
    if (*wanted && !isContainer(id)) focusElement(id);
  } else {
    return std::unexpected(AXError::unsupported);
  }
  return {};
}

}  // namespace tallyfox::memory
