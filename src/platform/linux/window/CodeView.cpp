#include "platform/linux/window/CodeView.hpp"

#include <QEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "platform/linux/window/Localized.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int gap = 6;  ///< kept free above and below the white ground
constexpr int side = static_cast<int>(status_window_layout::codeSide);

}  // namespace

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
  modules_ = image ? codeModules(*image) : GrayscaleImage();
  runs_ = codeRuns(modules_);
  setVisible(image.has_value());
  updateGeometry();
  update();
}

int CodeView::modulePixels() const {
  return pixelsPerModule(modules_.width, side, devicePixelRatioF());
}

int CodeView::codePixels() const {
  return modulePixels() * static_cast<int>(modules_.width);
}

QSize CodeView::sizeHint() const {
  const int needed = static_cast<int>(std::ceil(codePixels() / devicePixelRatioF()));
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
  const int pixels = modulePixels();
  const double half = codePixels() / 2.0;
  const QTransform modulesToDevice(pixels, 0, 0, pixels, std::round(centre.x() - half), std::round(centre.y() - half));
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setWorldTransform(modulesToDevice * device.inverted());
  for (const CodeRun& run : runs_)
    painter.fillRect(static_cast<int>(run.x), static_cast<int>(run.y), static_cast<int>(run.length), 1, Qt::black);
}

}  // namespace tallyfox::linux_os
