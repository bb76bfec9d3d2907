#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "model/DialogFrame.hpp"
#include "platform/AXTypes.hpp"
#include "platform/Applications.hpp"
#include "platform/memory/DesktopEvents.hpp"
#include "platform/memory/MemoryDesktop.hpp"

namespace tallyfox::memory {

/// What an AXUIElement of this backend names: an element by its number, an application by its process.
class MemoryElementIdentity : public AXElementIdentity {
 public:
  enum class Kind { systemWide, application, element };

  [[nodiscard]] static const MemoryElementIdentity& of(const AXUIElement& element);
  [[nodiscard]] static AXUIElement systemWide();
  [[nodiscard]] static AXUIElement application(std::int32_t pid);
  [[nodiscard]] static AXUIElement element(ElementID id, std::int32_t pid);

  MemoryElementIdentity(Kind identifiedKind, ElementID number, std::int32_t pid)
      : kind(identifiedKind), id(number), processIdentifier(pid) {}
  [[nodiscard]] bool isEqual(const AXElementIdentity& other) const override;
  [[nodiscard]] std::size_t hash() const override { return std::hash<ElementID>{}(id); }
  auto operator<=>(const MemoryElementIdentity& other) const {
    return std::tie(kind, id) <=> std::tie(other.kind, other.id);
  }

  const Kind kind;
  const ElementID id;
  const std::int32_t processIdentifier;
};

struct DesktopElement {
  std::int32_t processIdentifier = 0;
  ElementID parent = 0;  ///< 0: a window of the application
  std::vector<ElementID> children;
  std::map<AXAttribute, std::optional<AXValue>> attributes;  ///< absent values hide what would be computed
  std::vector<std::string> actions;
  ElementID defaultButton = 0;  ///< of windows and sheets
  ElementID cancelButton = 0;
  PressEffect effect = PressEffect::nothing;
  std::function<void()> onPress;
  bool isMinimized = false;  ///< this and the next two: of windows
  double alpha = 1;
  std::int64_t layer = 0;
};

struct DesktopApplication {
  RunningApplication record;
  Fault fault = Fault::none;
  bool heedsActions = true;
  bool heedsKeys = true;
  bool heedsMouse = true;
  ElementID mainWindow = 0;
  ElementID focusedWindow = 0;
  ElementID focusedElement = 0;
};

using Outcome = std::expected<void, AXError>;

/// The desktop itself: what is there, who has the focus, and what each change brings with it.
class DesktopModel {
 public:
  explicit DesktopModel(SerialQueue& mainQueue);

  // Applications, windows and elements.
  std::int32_t launch(const std::string& name, std::optional<std::string> bundleIdentifier, bool isRegular);
  void quit(std::int32_t pid);
  ElementID openWindow(std::int32_t pid, const ElementSpec& spec);
  ElementID addChild(ElementID parent, const ElementSpec& spec);
  /// Also closes windows.
  void remove(ElementID element);
  void assign(ElementID element, AXAttribute attribute, std::optional<AXValue> value);
  void place(ElementID element, const DialogFrame& frame);

  // Stacking and focus.
  void raise(ElementID window);
  void focusWindow(ElementID window);
  void focusElement(ElementID element);
  void setMinimized(ElementID window, bool minimized);
  void activate(std::int32_t pid);
  void setFocusedWindow(ElementID window);
  void setMainWindow(ElementID window);

  // What an application's accessibility answers, the application's health left aside.
  [[nodiscard]] std::expected<AXValue, AXError> read(const MemoryElementIdentity& element, AXAttribute attribute) const;
  Outcome set(const MemoryElementIdentity& element, AXAttribute attribute, const AXValue& value);
  [[nodiscard]] std::vector<std::string> actionNames(ElementID element) const;
  Outcome perform(ElementID element, std::string_view action);
  /// The button that an action of this element presses; 0 for other actions.
  [[nodiscard]] ElementID buttonOf(ElementID element, std::string_view action) const;
  /// A real press, however it came about. Refused while the button is disabled.
  Outcome press(ElementID button);

  // Questions.
  [[nodiscard]] bool exists(ElementID element) const { return elements.contains(element); }
  [[nodiscard]] const DesktopElement& element(ElementID id) const { return elements.at(id); }
  [[nodiscard]] DesktopElement& element(ElementID id) { return elements.at(id); }
  [[nodiscard]] AXUIElement handle(ElementID element) const;
  [[nodiscard]] std::string text(ElementID element, AXAttribute attribute) const;
  [[nodiscard]] std::string label(ElementID element) const;
  [[nodiscard]] std::optional<DialogFrame> frame(ElementID element) const;
  [[nodiscard]] bool isContainer(ElementID element) const;
  /// The nearest window or sheet, the element itself included.
  [[nodiscard]] ElementID containerOf(ElementID element) const;
  [[nodiscard]] ElementID windowOf(ElementID element) const;
  [[nodiscard]] bool isWithin(ElementID element, ElementID ancestor) const;
  [[nodiscard]] std::vector<ElementID> windowsFrontToBack() const;
  /// The topmost window there and the deepest element in it; 0 when there is none.
  [[nodiscard]] ElementID windowAt(AXPoint point) const;
  [[nodiscard]] ElementID elementAt(AXPoint point) const;

  /// Held by whoever touches the model; let go while an application lets its caller wait.
  mutable std::recursive_mutex mutex;
  std::map<std::int32_t, DesktopApplication> applications;
  std::map<ElementID, DesktopElement> elements;
  DesktopEvents events;
  bool isTrusted = true;
  bool isWindowServerGone = false;
  std::int32_t frontmost = 0;  ///< the application with the focus; 0 when no window is open
  DeedLog deeds;
  std::vector<std::string> presses;
  std::map<std::int32_t, std::vector<std::string>> input;  ///< what reached each application, heeded or not
  std::function<std::optional<AXError>(const Message&)> onMessage;
  std::function<void(const Touch&)> onTouch;

 private:
  ElementID create(std::int32_t pid, ElementID parent, const ElementSpec& spec);
  void erase(ElementID element);
  void moveBy(ElementID element, double x, double y);
  void notify(std::int32_t pid, const std::string& notification) const;
  /// Gives the focus away from windows that are gone or minimised.
  void settleFocus(std::int32_t pid);
  [[nodiscard]] bool canHaveFocus(ElementID window) const;
  [[nodiscard]] ElementID deepestAt(ElementID element, AXPoint point) const;
  [[nodiscard]] std::expected<AXValue, AXError> readApplication(std::int32_t pid, AXAttribute attribute) const;
  [[nodiscard]] std::expected<AXValue, AXError> readElement(ElementID element, AXAttribute attribute) const;
  [[nodiscard]] std::expected<AXValue, AXError> handleOrNoValue(ElementID element) const;
  Outcome setOfApplication(std::int32_t pid, AXAttribute attribute, const AXValue& value);
  Outcome setOfElement(ElementID element, AXAttribute attribute, const AXValue& value);

  std::vector<ElementID> stacking_;  ///< front to back within a layer
  ElementID nextElement_ = 1;
  std::int32_t nextProcess_ = 301;
};

/// The agent's own process.
inline constexpr std::int32_t ownProcessIdentifier = 100;

}  // namespace tallyfox::memory
