#pragma once

#include <cstdint>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiReference.hpp"

namespace tallyfox::linux_os {

/// What an element handle of this backend names. An application is named by its process alone, so that its element can
/// be made without a message and stays the same when the program registers anew.
class AtspiElement final : public AXElementIdentity {
 public:
  enum class Kind {
    systemWide,
    application,
    object,
    description,  ///< what a dialog says of itself and shows in no label: a text of its own to whoever reads dialogs
  };

  [[nodiscard]] static AXUIElement systemWide();
  [[nodiscard]] static AXUIElement application(std::int32_t processIdentifier);
  [[nodiscard]] static AXUIElement object(AtspiReference reference, std::int32_t processIdentifier);
  [[nodiscard]] static AXUIElement description(AtspiReference dialog, std::int32_t processIdentifier);
  /// No pointer for a handle of another backend. Lives as long as the handle.
  [[nodiscard]] static const AtspiElement* of(const AXUIElement& element);

  AtspiElement(Kind kind, std::int32_t processIdentifier, AtspiReference reference);

  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] std::int32_t processIdentifier() const { return processIdentifier_; }
  /// Of a description, the dialog's.
  [[nodiscard]] const AtspiReference& reference() const { return reference_; }

  [[nodiscard]] bool isEqual(const AXElementIdentity& other) const override;
  [[nodiscard]] std::size_t hash() const override;

 private:
  Kind kind_;
  std::int32_t processIdentifier_;
  AtspiReference reference_;
};

}  // namespace tallyfox::linux_os
