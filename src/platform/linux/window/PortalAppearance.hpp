#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/SdBus.hpp"
#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {

/// What the desktop's settings portal says of light and dark, where there is one that has an opinion. Main thread.
class PortalAppearance {
 public:
  /// On the user's session bus when `sessionBusAddress` is empty. Waits a moment for a portal that runs, so that the
  /// first window opens in the right colours; one that is only being started tells later. `onChange` runs in the event
  /// loop.
  PortalAppearance(const std::string& sessionBusAddress, std::function<void()> onChange);
  ~PortalAppearance();
  PortalAppearance(const PortalAppearance&) = delete;
  PortalAppearance& operator=(const PortalAppearance&) = delete;

  /// Absent without a portal, and where the owner prefers neither.
  [[nodiscard]] std::optional<Appearance> preferred() const { return preferred_; }

 private:
  void ask();
  void awaitFirstAnswer();
  void process();
  void take(sd_bus_message* value);

  std::function<void()> onChange_;
  std::optional<Appearance> preferred_;
  bool isAnswered_ = false;
  SdBusHandle bus_;
  SdBusSlotHandle question_;
  SdBusSlotHandle changes_;
  std::unique_ptr<QSocketNotifier> readable_;
};

}  // namespace tallyfox::linux_os
