// Every symbol that the rows name has a drawing of its own within its canvas.

#include "platform/linux/window/StatusSymbols.hpp"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QPainter>
#include <set>

#include "platform/linux/window/TemplateImagePainter.hpp"

namespace tallyfox::linux_os {
namespace {

QImage rendered(const TemplateImage& symbol) {
  constexpr int scale = 4;
  QImage image(static_cast<int>(symbol.width) * scale, static_cast<int>(symbol.height) * scale, QImage::Format_ARGB32);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.scale(scale, scale);
  drawTemplateImage(painter, symbol, Qt::black);
  return image;
}

TEST(StatusSymbols, drawEachNameDifferentlyAndNothingForOthers) {
  std::set<std::string> drawings;
  const auto bytes = [](const std::string& name) {
    const QImage image = rendered(statusSymbol(name));
    return std::string(reinterpret_cast<const char*>(image.constBits()), static_cast<std::size_t>(image.sizeInBytes()));
  };
  const std::string blank = bytes("no.such.symbol");
  for (const char* name :
       {"folder", "figure.wave.circle.fill", "arrow.clockwise.circle", "arrow.down.circle", "bell", "bell.slash"}) {
    EXPECT_NE(bytes(name), blank) << name;
    drawings.insert(bytes(name));
    const QImage image = rendered(statusSymbol(name));
    for (int at = 0; at < image.width(); ++at)
      for (const QPoint edge :
           {QPoint(at, 0), QPoint(0, at), QPoint(at, image.height() - 1), QPoint(image.width() - 1, at)})
        ASSERT_EQ(image.pixelColor(edge).alpha(), 0) << name;
  }
  EXPECT_EQ(drawings.size(), 6U);
}

}  // namespace
}  // namespace tallyfox::linux_os
