#pragma once

#include <expected>
#include <string>

#include "platform/linux/SdBus.hpp"

namespace tallyfox::linux_os {

/// What the session bus tells of accessibility. One thread's own connection, made when first asked and again after it
/// was lost.
class SessionStatus {
 public:
  /// Of the user's session bus when `sessionBusAddress` is empty.
  explicit SessionStatus(std::string sessionBusAddress) : address_(std::move(sessionBusAddress)) {}

  /// The accessibility bus; asking may start it. Fails with the reason.
  [[nodiscard]] std::expected<std::string, std::string> accessibilityBusAddress();
  /// Whether programs are told to open up to assistive ones. Fails with the reason.
  [[nodiscard]] std::expected<bool, std::string> isEnabled();
  /// Tells them to, for the rest of the session. Fails with the reason.
  [[nodiscard]] std::expected<void, std::string> enable();

 private:
  /// A call of the accessibility bus's launcher, ready for its arguments.
  [[nodiscard]] std::expected<SdBusMessageHandle, std::string> question(const char* interface, const char* member);
  [[nodiscard]] std::expected<SdBusMessageHandle, std::string> answer(const SdBusMessageHandle& question);
  std::string address_;
  SdBusHandle bus_;
};

}  // namespace tallyfox::linux_os
