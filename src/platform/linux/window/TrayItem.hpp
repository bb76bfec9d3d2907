#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <cstdint>
#include <functional>

#include "platform/linux/window/ApplicationActions.hpp"
#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {

/// The item in the desktop's tray, where there is one; elsewhere nothing is shown, and nothing depends on it.
class TrayItem {
 public:
  TrayItem(const ApplicationActions& menu, Appearance appearance, std::function<void()> onOpen);
  ~TrayItem();
  TrayItem(const TrayItem&) = delete;
  TrayItem& operator=(const TrayItem&) = delete;

  void showPendingCount(std::int64_t count);
  void setAppearance(Appearance appearance);
  [[nodiscard]] const QSystemTrayIcon& icon() const { return icon_; }
  [[nodiscard]] const QMenu& menu() const { return menu_; }

 private:
  void draw();

  std::int64_t count_ = 0;
  Appearance appearance_;
  QMenu menu_;
  QSystemTrayIcon icon_;
};

}  // namespace tallyfox::linux_os
