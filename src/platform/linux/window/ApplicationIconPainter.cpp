#include "platform/linux/window/ApplicationIconPainter.hpp"

#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

#include "platform/linux/window/TemplateImagePainter.hpp"

namespace tallyfox::linux_os {

QImage renderedApplicationIcon(const ApplicationIcon& icon, int pixels) {
  QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixels / icon.side, pixels / icon.side);
  const QRectF plate(icon.plate.x, icon.side - icon.plate.y - icon.plate.height, icon.plate.width, icon.plate.height);
  QLinearGradient shade(plate.topLeft(), plate.bottomLeft());
  shade.setColorAt(0, qtColor(icon.plateTop));
  shade.setColorAt(1, qtColor(icon.plateBottom));
  painter.setPen(Qt::NoPen);
  painter.setBrush(shade);
  painter.drawRoundedRect(plate, icon.plateCornerRadius, icon.plateCornerRadius);
  for (const IconLayer& layer : icon.layers)
    drawTemplateImage(painter, layer.image, qtColor(layer.color));
  return image;
}

QIcon applicationWindowIcon() {
  QIcon icon;
  for (const int pixels : {16, 24, 32, 48, 64, 128})
    icon.addPixmap(QPixmap::fromImage(renderedApplicationIcon(applicationIcon(pixels), pixels)));
  return icon;
}

}  // namespace tallyfox::linux_os
