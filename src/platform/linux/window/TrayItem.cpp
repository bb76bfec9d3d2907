#include "platform/linux/window/TrayItem.hpp"

#include <QPainter>
#include <algorithm>
#include <variant>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/TemplateImagePainter.hpp"
#include "platform/linux/window/ThemePalette.hpp"
#include "ui/MenuBarIcon.hpp"

namespace tallyfox::linux_os {
namespace {

/// Every stroke and dot of a drawing, so much wider on each side.
struct Widened {
  double margin;

  drawing::Command operator()(drawing::FilledOval oval) const {
    oval.rectangle.x -= margin;
    oval.rectangle.y -= margin;
    oval.rectangle.width += 2 * margin;
    oval.rectangle.height += 2 * margin;
    return oval;
  }
  template <typename Stroke>
  drawing::Command operator()(Stroke stroke) const {
    stroke.strokeWidth += 2 * margin;
    return stroke;
  }
};

/// What lies around the drawing, so that it stands out from a panel of its own colour too: a tray does not tell how
/// dark it is, and many are dark on a light desktop.
TemplateImage haloOf(TemplateImage image) {
  constexpr double margin = 0.9;
  for (drawing::Command& command : image.commands)
    command = std::visit(Widened{.margin = margin}, command);
  return image;
}

struct IconColors {
  QColor drawing;
  QColor halo;
};

IconColors iconColors(Appearance appearance) {
  constexpr float haloOpacity = 0.75F;
  const AppTheme theme = AppTheme::of(appearance);
  IconColors colors{.drawing = qtColor(theme.text), .halo = qtColor(theme.windowBackground)};
  colors.halo.setAlphaF(haloOpacity);
  return colors;
}

/// Trays have square places, and some would stretch another picture: the drawing lies in the middle of a square one, in
/// the sizes that panels ask for.
QIcon squareIcon(const TemplateImage& image, const IconColors& colors) {
  // Its shapes overlap; drawn in one colour and let through as a whole, the halo is even.
  QColor opaqueHalo = colors.halo;
  opaqueHalo.setAlphaF(1);
  const double side = std::max(image.width, image.height);
  QIcon icon;
  for (const int pixels : {16, 22, 24, 32, 44, 48, 64, 96}) {
    QPixmap square(pixels, pixels);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.scale(pixels / side, pixels / side);
    painter.translate((side - image.width) / 2, (side - image.height) / 2);
    drawTemplateImage(painter, haloOf(image), opaqueHalo);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(QRectF(-side, -side, 3 * side, 3 * side), QColor(0, 0, 0, colors.halo.alpha()));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    drawTemplateImage(painter, image, colors.drawing);
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
  icon_.setIcon(squareIcon(menuBarIcon(count_), iconColors(appearance_)));
}

}  // namespace tallyfox::linux_os
