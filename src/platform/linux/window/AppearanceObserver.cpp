#include "platform/linux/window/AppearanceObserver.hpp"

#include <QApplication>
#include <QEvent>
#include <QPalette>

namespace tallyfox::linux_os {

AppearanceObserver::AppearanceObserver(const std::string& sessionBusAddress, std::function<void(Appearance)> onChange)
    : onChange_(std::move(onChange)), portal_(sessionBusAddress, [this] { update(); }), appearance_(present()) {
  qApp->installEventFilter(this);
}

AppearanceObserver::~AppearanceObserver() = default;

bool AppearanceObserver::eventFilter(QObject* watched, QEvent* event) {
  if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) update();
  return QObject::eventFilter(watched, event);
}

Appearance AppearanceObserver::present() const {
  if (const auto preferred = portal_.preferred()) return *preferred;
  const QPalette system = QApplication::palette();
  const bool isDark = system.color(QPalette::Window).lightnessF() < system.color(QPalette::WindowText).lightnessF();
  return isDark ? Appearance::dark : Appearance::light;
}

void AppearanceObserver::update() {
  const Appearance now = present();
  if (now == appearance_) return;
  appearance_ = now;
  onChange_(now);
}

}  // namespace tallyfox::linux_os
