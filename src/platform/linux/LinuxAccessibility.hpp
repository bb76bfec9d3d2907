#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/Console.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"
#include "platform/linux/UnseenWindows.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// Accessibility over the AT-SPI bus by direct, pipelined D-Bus calls, and the X server for windows. Passive: it
/// registers as a listener with nobody and makes no call that is known to crash or freeze a toolkit. Each thread that
/// calls gets private bus connections of its own.
class LinuxAccessibility : public Accessibility, public AccessibilityElements {
 public:
  /// What others want to know of the programs here. Each may be missing.
  struct Reports {
    std::unique_ptr<UnseenWindows> unseenWindows;
    /// The bus name of a program that let a question pass its time-out. From any thread.
    std::function<void(const std::string& busName)> onSilence;
  };

  /// Connects lazily: without a session or accessibility bus nothing is trusted, and the reason is printed once, again
  /// after each change. `desktop` may be missing where there is no X display. The session bus is the user's when no
  /// address is given.
  LinuxAccessibility(std::shared_ptr<X11Desktop> desktop, Console& console, std::string sessionBusAddress = {},
                     Reports reports = {});
  ~LinuxAccessibility() override;

  /// A program that was held to be hung is asked again: it has shown a sign of life.
  void heardOf(std::int32_t processIdentifier);

  bool isProcessTrusted() override;
  AXUIElement applicationElement(std::int32_t processIdentifier) override;
  AXUIElement systemWideElement() override;
  std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) override;
  std::unique_ptr<AXReadScope> willRead(const AXReadPlan& plan) override;

  std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element, AXAttribute attribute) override;
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                            const AXValue& value) override;
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element) override;
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) override;
  std::expected<std::int32_t, AXError> processIdentifier(const AXUIElement& element) override;
  void setMessagingTimeout(const AXUIElement& element, Seconds timeout) override;

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace tallyfox::linux_os
