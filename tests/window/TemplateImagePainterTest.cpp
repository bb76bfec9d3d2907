// The painted menu-bar icon against its geometry: every point inside a shape is painted, every point outside all of
// them is not, to within a pixel, at every scale.

#include "platform/linux/window/TemplateImagePainter.hpp"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <cmath>

#include "ui/MenuBarIconGeometry.hpp"

namespace tallyfox::linux_os {
namespace {

/// On a transparent ground, at so many pixels to the point, rounded up to whole pixels at the right and at the bottom.
QImage renderedTemplateImage(const TemplateImage& image, const QColor& color, double pixelsPerPoint) {
  const auto pixels = [&](double points) { return static_cast<int>(std::ceil(points * pixelsPerPoint)); };
  QImage rendered(pixels(image.width), pixels(image.height), QImage::Format_ARGB32_Premultiplied);
  rendered.setDevicePixelRatio(pixelsPerPoint);
  rendered.fill(Qt::transparent);
  QPainter painter(&rendered);
  drawTemplateImage(painter, image, color);
  return rendered;
}

/// The number of pixels that are surely in or surely out, all of them checked.
int expectGeometry(const QImage& image, double scale, bool hasDot) {
  int judged = 0;
  int wrong = 0;
  for (int row = 0; row < image.height(); ++row) {
    for (int column = 0; column < image.width(); ++column) {
      const drawing::Point centre{(column + 0.5) / scale, 18 - (row + 0.5) / scale};
      const double distanceInPixels = distanceToMenuBarIcon(centre, hasDot) * scale;
      if (std::abs(distanceInPixels) < 1) continue;
      ++judged;
      const int expected = distanceInPixels < 0 ? 255 : 0;
      if (qAlpha(image.pixel(column, row)) != expected && ++wrong < 5)
        ADD_FAILURE() << "at " << centre.x << ", " << centre.y << " alpha " << qAlpha(image.pixel(column, row));
    }
  }
  EXPECT_EQ(wrong, 0);
  return judged;
}

TEST(TemplateImagePainter, paintsWhatIsInsideAStrokeAndNothingElse) {
  for (const std::int64_t count : {0, 1, 57}) {
    const QImage image = renderedTemplateImage(menuBarIcon(count), Qt::black, 8);
    EXPECT_GT(expectGeometry(image, 8, count > 0), 15'000) << count;
  }
}

TEST(TemplateImagePainter, isAsExactAtScalesThatAreNoWholeNumber) {
  for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.7}) {
    const QImage image = renderedTemplateImage(menuBarIcon(1), Qt::black, scale);
    EXPECT_GT(expectGeometry(image, scale, true), 20 * scale) << scale;
  }
}

TEST(TemplateImagePainter, paintsTheSameForOneApprovalAsForMany) {
  const QImage one = renderedTemplateImage(menuBarIcon(1), Qt::black, 8);
  EXPECT_EQ(one, renderedTemplateImage(menuBarIcon(57), Qt::black, 8));
  EXPECT_EQ(qAlpha(one.pixel(static_cast<int>(24.6 * 8), static_cast<int>((18 - 13.4) * 8))), 255);
}

TEST(TemplateImagePainter, paintsNoDotWhereNoneIsPending) {
  for (const std::int64_t count : {0, -1}) {
    const QImage image = renderedTemplateImage(menuBarIcon(count), Qt::black, 8);
    // Without the dot the canvas ends where the signal does; nothing is left of where it was.
    for (int row = 0; row < image.height(); ++row)
      EXPECT_EQ(qAlpha(image.pixel(image.width() - 1, row)), 0) << row;
  }
}

TEST(TemplateImagePainter, paintsInTheColourGiven) {
  const QColor green = qtColor(app_brand::green);
  EXPECT_EQ(green.rgb(), qRgb(41, 199, 87));
  const QImage image = renderedTemplateImage(menuBarIcon(1), green, 8);
  int painted = 0;
  for (int row = 0; row < image.height(); ++row) {
    for (int column = 0; column < image.width(); ++column) {
      if (qAlpha(image.pixel(column, row)) != 255) continue;
      ++painted;
      // Where shapes overlap, blending rounds.
      const QColor pixel = image.pixelColor(column, row);
      ASSERT_NEAR(pixel.red(), green.red(), 1);
      ASSERT_NEAR(pixel.green(), green.green(), 1);
      ASSERT_NEAR(pixel.blue(), green.blue(), 1);
    }
  }
  EXPECT_GT(painted, 5'000);
}

TEST(TemplateImagePainter, paintsAtThePaintersOriginAndLeavesThePainterAsItWas) {
  const TemplateImage icon = menuBarIcon(1);
  QImage shifted(100, 60, QImage::Format_ARGB32_Premultiplied);
  shifted.fill(Qt::transparent);
  QPainter painter(&shifted);
  painter.translate(40, 20);
  const QTransform before = painter.transform();
  drawTemplateImage(painter, icon, Qt::black);
  EXPECT_EQ(painter.transform(), before);
  EXPECT_FALSE(painter.testRenderHint(QPainter::Antialiasing));
  painter.end();
  QImage plain = renderedTemplateImage(icon, Qt::black, 1);
  EXPECT_EQ(shifted.copy(40, 20, 30, 18), plain);
}

}  // namespace
}  // namespace tallyfox::linux_os
