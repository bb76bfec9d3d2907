#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tallyfox {

/// What a backend knows of one element. Immutable; two identities are equal when they name the same live element.
class AXElementIdentity {
 public:
  virtual ~AXElementIdentity() = default;
  [[nodiscard]] virtual bool isEqual(const AXElementIdentity& other) const = 0;
  [[nodiscard]] virtual std::size_t hash() const = 0;
};

/// An element of some application's accessibility tree: an opaque, reference-counted, comparable handle. It holds no
/// copy of the element and stays valid (but unreadable) when the element is gone. Never empty. Any thread.
class AXUIElement {
 public:
  explicit AXUIElement(std::shared_ptr<const AXElementIdentity> identity) : identity_(std::move(identity)) {}
  [[nodiscard]] const AXElementIdentity& identity() const { return *identity_; }
  [[nodiscard]] std::size_t hash() const { return identity_->hash(); }
  bool operator==(const AXUIElement& other) const {
    return identity_ == other.identity_ || identity_->isEqual(*other.identity_);
  }

 private:
  std::shared_ptr<const AXElementIdentity> identity_;
};

struct AXPoint {
  double x = 0;
  double y = 0;
  bool operator==(const AXPoint&) const = default;
};

struct AXSize {
  double width = 0;
  double height = 0;
  bool operator==(const AXSize&) const = default;
};

/// Everything an attribute can hold.
using AXValue = std::variant<std::string, bool, double, AXPoint, AXSize, AXUIElement, std::vector<AXUIElement>>;

/// The attributes that the system reads or sets. `attributeName` gives the field's name ("AXRole").
enum class AXAttribute {
  role,
  subrole,
  title,
  description,
  value,
  modal,
  enabled,
  children,
  parent,
  position,
  size,
  windows,
  mainWindow,
  focusedWindow,
  focusedUIElement,
  defaultButton,
  cancelButton,
  minimized,
  main,
  focused,
  frontmost,
};
[[nodiscard]] std::string_view attributeName(AXAttribute attribute);

/// Why a call gave nothing. Most callers treat all alike; who proves that something is gone must not take silence for
/// it.
enum class AXError {
  cannotComplete,  ///< the application runs, but did not answer within the messaging time-out or is skipped as hung
  invalidElement,  ///< the element is gone, or its application is
  unsupported,     ///< the element has no such attribute or action, or it cannot be set
  noValue,         ///< it has, but there is no value now
  notTrusted,      ///< accessibility is off
};

namespace ax_role {
inline constexpr std::string_view window = "AXWindow";
inline constexpr std::string_view sheet = "AXSheet";
inline constexpr std::string_view button = "AXButton";
inline constexpr std::string_view staticText = "AXStaticText";
inline constexpr std::string_view toolbar = "AXToolbar";
inline constexpr std::string_view outline = "AXOutline";
inline constexpr std::string_view tabGroup = "AXTabGroup";
inline constexpr std::string_view sidebar = "AXSidebar";
}  // namespace ax_role

namespace ax_subrole {
inline constexpr std::string_view dialog = "AXDialog";
}

namespace ax_action {
inline constexpr std::string_view press = "AXPress";
inline constexpr std::string_view raise = "AXRaise";
inline constexpr std::string_view confirm = "AXConfirm";
inline constexpr std::string_view cancel = "AXCancel";
}  // namespace ax_action

}  // namespace tallyfox

template <>
struct std::hash<tallyfox::AXUIElement> {
  std::size_t operator()(const tallyfox::AXUIElement& element) const noexcept { return element.hash(); }
};
