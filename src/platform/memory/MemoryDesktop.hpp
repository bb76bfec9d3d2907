#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/Applications.hpp"
#include "platform/SyntheticInput.hpp"
#include "platform/WindowList.hpp"

namespace tallyfox::memory {

/// Names one element of the desktop for the remote control. 0 names nothing.
using ElementID = std::uint64_t;

/// How one element is to be made. Attributes not given do not exist.
struct ElementSpec {
  std::string role;
  std::optional<std::string> subrole = {};
  std::optional<std::string> title = {};
  std::optional<std::string> description = {};
  std::optional<std::string> value = {};
  std::optional<DialogFrame> frame = {};
  std::optional<bool> modal = {};
  std::optional<bool> enabled = {};
  std::vector<std::string> actions = {};
  std::vector<ElementSpec> children = {};
  bool isDefaultButton = false;  ///< the window's AXDefaultButton
  bool isCancelButton = false;   ///< the window's AXCancelButton
};

/// What a button does when it is really pressed, in whatever way.
enum class PressEffect { nothing, closeWindow };

/// How an application misbehaves.
enum class Fault {
  none,
  hang,            ///< no message is answered; each costs its time-out
  refuseActions,   ///< actions report an error and do nothing
  ignoreActions,   ///< actions report success and do nothing
  vanishOnAction,  ///< the element is gone before the action arrives
  workAndRefuse,   ///< actions work and report an error
};

/// One message of the agent to an application, before it arrives.
struct Message {
  std::int32_t processIdentifier = 0;
  ElementID element = 0;  ///< 0: the application as a whole
};

/// One deed of the agent that presses, or would if it were heeded, before it arrives.
struct Touch {
  enum class Kind { action, key, mouse };
  Kind kind = Kind::action;
  std::string name;      ///< "AXPress", "AXConfirm", "AXCancel"; "49 down", ...; "leftDown", ...
  ElementID button = 0;  ///< what it would press; 0: nothing
};

/// Everything that was done to the desktop from outside, in order, as text ("press 17 AXPress", "key 49 down pid 310",
/// "mouse leftDown 120,80 global", "raise 4", "set 9 AXFocused").
using DeedLog = std::vector<std::string>;

/// A whole desktop in memory and the remote control of it. The control's own calls take no time; the seam side is what
/// accessibility() and the others give. Any thread; what deeds() and presses() refer to changes with the next deed.
class MemoryDesktop {
 public:
  MemoryDesktop(Clock& clock, SerialQueue& mainQueue);
  ~MemoryDesktop();

  // The seam.
  [[nodiscard]] Accessibility& accessibility();
  [[nodiscard]] AccessibilityElements& elements();
  [[nodiscard]] AccessibilityObservers& observers();
  [[nodiscard]] Applications& applications();
  [[nodiscard]] WindowList& windowList();
  [[nodiscard]] SyntheticInput& input();

  // The remote control.
  void setTrusted(bool trusted);
  /// Starts an application; posts "launched".
  std::int32_t launch(const std::string& name, std::optional<std::string> bundleIdentifier = std::nullopt,
                      bool isRegular = true);
  void quit(std::int32_t pid);
  /// Says what no call of this control brings about by itself: hiding, unhiding, a change of space.
  void postWorkspaceEvent(const WorkspaceEvent& event);
  /// Says one notification of an application, whatever its state.
  void postNotification(std::int32_t pid, const std::string& notification);
  /// Opens a window in front of all others, focused; posts the notifications a real system posts. A window without a
  /// frame is not in the window list.
  ElementID openWindow(std::int32_t pid, const ElementSpec& window);
  void closeWindow(ElementID window);
  /// Puts an element below another; used for sheets inside windows and for trees that change.
  ElementID addChild(ElementID parent, const ElementSpec& child);
  void removeElement(ElementID element);
  void setTitle(ElementID element, std::optional<std::string> title);
  void setDescription(ElementID element, std::optional<std::string> description);
  void setValue(ElementID element, std::optional<std::string> value);
  /// A window or sheet takes along what is in it.
  void setFrame(ElementID element, std::optional<DialogFrame> frame);
  void setEnabled(ElementID element, std::optional<bool> enabled);
  void setAttribute(ElementID element, AXAttribute attribute, std::optional<AXValue> value);
  /// Stacking: to the front of all windows, without the focus.
  void raise(ElementID window);
  void focusWindow(ElementID window);
  void focusElement(ElementID element);
  void setMinimized(ElementID window, bool minimized);
  void setWindowAlpha(ElementID window, double alpha);
  void setWindowLayer(ElementID window, std::int64_t layer);
  /// What a press of this button does; by default the window closes.
  void onPress(ElementID button, std::function<void()> effect);
  void setPressEffect(ElementID button, PressEffect effect);
  void setFault(std::int32_t pid, Fault fault);
  /// Which ways of pressing the application heeds; all by default. Keys: the button with the focus for Space, the
  /// default button for Return, the cancel button for Escape. Mouse: the button under the pointer.
  void heed(std::int32_t pid, bool accessibilityActions, bool keys, bool mouse);
  void failEventCreation(bool fails);
  /// Runs before every message of the agent, and may change the desktop. What it gives is answered in the place of the
  /// application; cannotComplete after the time-out.
  void onMessage(std::function<std::optional<AXError>(const Message&)> hook);
  /// Runs before every touch; what it sees is the desktop as the touch finds it.
  void onTouch(std::function<void(const Touch&)> hook);
  /// The window list is empty from now on, whatever is open.
  void stopWindowServer();

  [[nodiscard]] ElementID find(ElementID root, const std::string& role, const std::string& titleOrDescription) const;
  [[nodiscard]] bool exists(ElementID element) const;
  [[nodiscard]] AXUIElement element(ElementID element) const;
  [[nodiscard]] AXUIElement application(std::int32_t pid) const;
  [[nodiscard]] const DeedLog& deeds() const;
  /// Buttons that were really pressed, by title (else description), in order.
  [[nodiscard]] const std::vector<std::string>& presses() const;
  /// Keys and mouse events that reached this application, heeded or not, in order: "key 49 down", "mouse moved 5,8".
  [[nodiscard]] std::vector<std::string> input(std::int32_t pid) const;
  /// Messages and rounds of messages sent to applications since the last reset: a read scope costs one message per
  /// element and one round per level of the tree, a read without one costs one of each.
  struct Traffic {
    std::size_t messages = 0;
    std::size_t rounds = 0;
  };
  [[nodiscard]] Traffic traffic() const;
  void resetTraffic();
  void clearDeeds();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

/// A message box as most systems show them: a dialog window with text lines and buttons left to right.
[[nodiscard]] ElementSpec messageBox(const std::string& title, const std::vector<std::string>& lines,
                                     const std::vector<std::string>& buttons, DialogFrame frame = {400, 300, 420, 180});

}  // namespace tallyfox::memory
