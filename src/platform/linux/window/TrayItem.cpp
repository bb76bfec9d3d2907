#include "platform/linux/window/TrayItem.hpp"

#include <QPainter>
#include <algorithm>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/TemplateImagePainter.hpp"
#include "platform/linux/window/ThemePalette.hpp"
#include "ui/MenuBarIcon.hpp"

namespace tallyfox::linux_os {
namespace {

/// Trays have square places, and some would stretch another picture: the drawing lies in the middle of a square one, in
/// the sizes that panels ask for.
QIcon squareIcon(const TemplateImage& image, const QColor& color) {
  const double side = std::max(image.width, image.height);
  QIcon icon;
  for (const int pixels : {16, 22, 24, 32, 44, 48, 64, 96}) {
    QPixmap square(pixels, pixels);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.scale(pixels / side, pixels / side);
    painter.translate((side - image.width) / 2, (side - image.height) / 2);
    drawTemplateImage(painter, image, color);
    painter.end();
    icon.addPixmap(square);
  }
  return icon;
}

}  // namespace

TrayItem::TrayItem(const ApplicationActions& menu, Appearance appearance, std::function<void()> onOpen)
    : appearance_(appearance) {
  // A click opens the window; but some desktops answer every click with the menu, which must then lead there too.
  QObject::connect(menu_.addAction(localized("Open Tallyfox")), &QAction::triggered, &icon_, onOpen);
  menu_.addSeparator();
  menu_.addActions(menu.entries());
  icon_.setToolTip(localized(menuBarToolTip));
  icon_.setContextMenu(&menu_);
  QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_,
                   [onOpen = std::move(onOpen)](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) onOpen();
                   });
  setAppearance(appearance);
  icon_.show();
}

TrayItem::~TrayItem() = default;

void TrayItem::showPendingCount(std::int64_t count) {
  if (count == count_) return;
  const bool isSameDrawing = menuBarIcon(count) == menuBarIcon(count_);
  count_ = count;
  if (!isSameDrawing) draw();
}

void TrayItem::setAppearance(Appearance appearance) {
  appearance_ = appearance;
  menu_.setPalette(paletteOf(AppTheme::of(appearance)));
  draw();
}

void TrayItem::draw() {
  icon_.setIcon(squareIcon(menuBarIcon(count_), qtColor(AppTheme::of(appearance_).text)));
}

}  // namespace tallyfox::linux_os
