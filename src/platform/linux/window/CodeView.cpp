#include "platform/linux/window/CodeView.hpp"

#include <QEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/linux/window/Localized.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int gap = 6;  ///< kept free above and below the white ground
constexpr int side = static_cast<int>(status_window_layout::codeSide);

/// Where colours change in a row or column lies on a border between modules, and rows and columns change often enough
/// for the common divisor of those places to be a module's side.
std::size_t moduleSide(const GrayscaleImage& image) {
  std::size_t divisor = std::gcd(image.width, image.height);
  for (std::size_t y = 0; y < image.height; ++y)
    for (std::size_t x = 0; x < image.width; ++x) {
      const std::size_t at = y * image.width + x;
      if (x > 0 && image.pixels[at] != image.pixels[at - 1]) divisor = std::gcd(divisor, x);
      if (y > 0 && image.pixels[at] != image.pixels[at - image.width]) divisor = std::gcd(divisor, y);
      if (divisor == 1) return 1;
    }
  return std::max<std::size_t>(divisor, 1);
}

}  // namespace

QImage modulesOf(const GrayscaleImage& image) {
  const std::size_t step = moduleSide(image);
  QImage modules(static_cast<int>(image.width / step), static_cast<int>(image.height / step),
                 QImage::Format_Grayscale8);
  for (int y = 0; y < modules.height(); ++y)
    for (int x = 0; x < modules.width(); ++x)
      modules.scanLine(y)[x] =
          image.pixels[static_cast<std::size_t>(y) * step * image.width + static_cast<std::size_t>(x) * step];
  return modules;
}

CodeView::CodeView() {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAccessibleName(localized("Pairing code"));
  hide();
}

void CodeView::apply(const std::optional<GrayscaleImage>& image, const std::string& caption) {
  if (const QString description = localized(caption); description != accessibleDescription())
    setAccessibleDescription(description);
  if (image == image_) return;
  image_ = image;
  modules_ = image ? modulesOf(*image) : QImage();
  setVisible(image.has_value());
  updateGeometry();
  update();
}

int CodeView::pixelsPerModule() const {
  if (modules_.isNull()) return 1;
  return std::max(static_cast<int>(std::lround(side * devicePixelRatioF() / modules_.width())), 1);
}

QSize CodeView::sizeHint() const {
  const int needed = static_cast<int>(std::ceil(pixelsPerModule() * modules_.width() / devicePixelRatioF()));
  return {std::max(side, needed), std::max(side, needed) + 2 * gap};
}

QSize CodeView::minimumSizeHint() const {
  return sizeHint();
}

bool CodeView::event(QEvent* event) {
  // Another screen's pixels may have another size, and with them the code.
  if (event->type() == QEvent::ScreenChangeInternal) updateGeometry();
  return QWidget::event(event);
}

void CodeView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::white);
  painter.drawRoundedRect(rect().adjusted(0, gap, 0, -gap), status_window_layout::cardCornerRadius,
                          status_window_layout::cardCornerRadius);
  // From here in modules, laid on whole device pixels.
  const QTransform device = painter.deviceTransform();
  const QPointF centre = device.map(QRectF(rect()).center());
  const int pixels = pixelsPerModule();
  const QTransform modulesToDevice(pixels, 0, 0, pixels, std::round(centre.x() - modules_.width() * pixels / 2.0),
                                   std::round(centre.y() - modules_.height() * pixels / 2.0));
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setWorldTransform(modulesToDevice * device.inverted());
  for (int y = 0; y < modules_.height(); ++y)
    for (int x = 0; x < modules_.width(); ++x) {
      const int start = x;
      while (x < modules_.width() && modules_.constScanLine(y)[x] == 0)
        ++x;
      if (x > start) painter.fillRect(start, y, x - start, 1, Qt::black);
    }
}

}  // namespace tallyfox::linux_os
