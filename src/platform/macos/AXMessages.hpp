#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "base/Date.hpp"
#include "platform/AXTypes.hpp"

namespace tallyfox::mac_os {

/// Whom a message about an element goes to.
struct AXAddressee {
  enum class Kind { systemWide, application, element };
  Kind kind = Kind::element;
  std::int32_t processIdentifier = 0;  ///< of the system-wide element: who has the focus; 0 when not known
};

/// Messages to applications, one a call: what AXReadings saves. Each blocks until it is answered, at most for its
/// time-out. Any thread; threads do not wait for each other.
class AXMessages {
 public:
  using Answer = std::expected<AXValue, AXError>;

  virtual ~AXMessages() = default;

  [[nodiscard]] virtual Answer copyAttribute(const AXUIElement& element, AXAttribute attribute, Seconds timeout) = 0;
  /// The answers in the order of `attributes`. An error says that the message as a whole had none.
  [[nodiscard]] virtual std::expected<std::vector<Answer>, AXError> copyAttributes(
      const AXUIElement& element, const std::vector<AXAttribute>& attributes, Seconds timeout) = 0;
  virtual std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                    const AXValue& value, Seconds timeout) = 0;
  [[nodiscard]] virtual std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element,
                                                                                         Seconds timeout) = 0;
  virtual std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action,
                                                     Seconds timeout) = 0;
  /// Told without a message.
  [[nodiscard]] virtual AXAddressee addressee(const AXUIElement& element) = 0;
};

}  // namespace tallyfox::mac_os
