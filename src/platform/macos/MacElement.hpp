#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <atomic>
#include <cstdint>

#include "base/Date.hpp"
#include "platform/AXTypes.hpp"
#include "platform/macos/CFRef.hpp"

namespace tallyfox::mac_os {

/// An accessibility object of the system, retained. Two are equal when the system says so. Nothing here sends a
/// message. Any thread.
class MacElement : public AXElementIdentity {
 public:
  explicit MacElement(CFRef<AXUIElementRef> object, bool isSystemWide = false);

  [[nodiscard]] static AXUIElement made(CFRef<AXUIElementRef> object);
  [[nodiscard]] static AXUIElement application(std::int32_t processIdentifier);
  [[nodiscard]] static AXUIElement systemWide();
  /// Null for an element of another backend.
  [[nodiscard]] static const MacElement* of(const AXUIElement& element);

  [[nodiscard]] bool isEqual(const AXElementIdentity& other) const override;
  [[nodiscard]] std::size_t hash() const override;
  /// Null when the system made none, as for what cannot be a process.
  [[nodiscard]] AXUIElementRef object() const { return object_.get(); }
  [[nodiscard]] bool isSystemWide() const { return isSystemWide_; }
  [[nodiscard]] bool isApplication() const;
  /// 0 when the system knows none, as of the system-wide element.
  [[nodiscard]] std::int32_t processIdentifier() const { return processIdentifier_; }

  /// How long a message about this object may take. The system keeps time-outs by object, not by what it stands for,
  /// and the one of the system-wide object as the default of all others; so each object gets its own before it is used.
  /// Threads that share a handle and differ in this may use one another's.
  void setTimeout(Seconds timeout) const;

 private:
  const CFRef<AXUIElementRef> object_;
  const bool isSystemWide_;
  std::int32_t processIdentifier_ = 0;
  mutable std::atomic<float> timeout_ = 0;  ///< the one that was set; 0: none
};

}  // namespace tallyfox::mac_os
