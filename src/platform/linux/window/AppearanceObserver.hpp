#pragma once

#include <QObject>
#include <functional>
#include <string>

#include "platform/linux/window/PortalAppearance.hpp"

namespace tallyfox::linux_os {

/// Whether the desktop is light or dark, and when that changes: from the settings portal, else from the lightness of
/// the application's palette, which is the system's own (our windows have palettes of their own). Main thread.
class AppearanceObserver : public QObject {
 public:
  /// `onChange` is told each new appearance, once.
  AppearanceObserver(const std::string& sessionBusAddress, std::function<void(Appearance)> onChange);
  ~AppearanceObserver() override;

  [[nodiscard]] Appearance appearance() const { return appearance_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  [[nodiscard]] Appearance present() const;
  void update();

  std::function<void(Appearance)> onChange_;
  PortalAppearance portal_;
  Appearance appearance_;
};

}  // namespace tallyfox::linux_os
