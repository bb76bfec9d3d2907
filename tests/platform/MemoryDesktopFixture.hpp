#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/memory/MemoryDesktop.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::memory {

/// A desktop with one application and its message box, seen through the seam.
class MemoryDesktopFixture : public testing::Test {
 protected:
  ElementID button(ElementID window, const std::string& label) { return desktop.find(window, "AXButton", label); }

  std::expected<AXValue, AXError> read(const AXUIElement& element, AXAttribute attribute) {
    return desktop.elements().copyAttribute(element, attribute);
  }
  std::expected<AXValue, AXError> read(ElementID element, AXAttribute attribute) {
    return read(desktop.element(element), attribute);
  }
  std::expected<void, AXError> perform(ElementID element, const std::string& action) {
    return desktop.elements().performAction(desktop.element(element), action);
  }
  std::expected<void, AXError> set(const AXUIElement& element, AXAttribute attribute, const AXValue& value) {
    return desktop.elements().setAttribute(element, attribute, value);
  }
  std::expected<void, AXError> set(ElementID element, AXAttribute attribute, const AXValue& value) {
    return set(desktop.element(element), attribute, value);
  }
  AXValue handles(const std::vector<ElementID>& ids) {
    std::vector<AXUIElement> elements;
    for (const ElementID id : ids)
      elements.push_back(desktop.element(id));
    return elements;
  }
  AXValue handle(ElementID id) { return desktop.element(id); }
  std::expected<AXValue, AXError> focusedWindow() {
    return read(desktop.accessibility().systemWideElement(), AXAttribute::focusedWindow);
  }
  double seconds() { return time.clock().continuous().count(); }

  VirtualTime time;
  std::shared_ptr<SerialQueue> mainQueue = time.makeQueue("main");
  std::shared_ptr<SerialQueue> scanQueue = time.makeQueue("scan");
  MemoryDesktop desktop{time.clock(), *mainQueue};
  std::int32_t pid = desktop.launch("Editor", "com.example.editor");
  ElementID box =
      desktop.openWindow(pid, messageBox("Save?", {"Save changes?", "They are lost otherwise."}, {"Cancel", "Save"}));
  ElementID cancel = button(box, "Cancel");
  ElementID save = button(box, "Save");
};

}  // namespace tallyfox::memory
