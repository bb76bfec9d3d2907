// The pairing code on the screen: each module a whole number of pixels, white around it in either appearance, and an
// independent reader gets back what a phone would, at every scale of the screen.

#include "platform/linux/window/CodeView.hpp"

#include <gtest/gtest.h>

#include <QPainter>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <set>

#include "pairing/QRCodeRenderer.hpp"
#include "window/CodeReader.hpp"
#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

TEST(CodeModules, findsThePixelsOfOneModuleInARealCode) {
  const auto plain = QRCodeRenderer::image(bytesOf(gallery::pairingText()), 1);
  for (const int scale : {1, 2, 3, 7, 10})
    EXPECT_EQ(codeModules(*QRCodeRenderer::image(bytesOf(gallery::pairingText()), scale)), plain);
}

struct PaintedWindow {
  const char* scale;
  bool isDark;
};

class PaintedCode : public testing::TestWithParam<PaintedWindow> {
 protected:
  /// The window as another process paints it, since a scale is for a whole process.
  [[nodiscard]] QImage paintedWindow(const QString& state) const {
    QProcess gallery;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("QT_SCALE_FACTOR", GetParam().scale);
    gallery.setProcessEnvironment(environment);
    const QString path = directory_.filePath("window.png");
    QStringList arguments = {state, path};
    if (GetParam().isDark) arguments.insert(1, "--dark");
    gallery.start(TALLYFOX_WINDOW_GALLERY, arguments);
    EXPECT_TRUE(gallery.waitForFinished());
    EXPECT_EQ(gallery.exitCode(), 0);
    return QImage(path);
  }

 private:
  QTemporaryDir directory_;
};

TEST_P(PaintedCode, isReadBackFromThePicture) {
  const QImage picture = paintedWindow("ready-to-scan");
  EXPECT_EQ(codeIn(picture), gallery::pairingText());
  const Appearance appearance = GetParam().isDark ? Appearance::dark : Appearance::light;
  EXPECT_EQ(picture.pixel(1, 1), pixelOf(AppTheme::of(appearance).windowBackground));
}

TEST_P(PaintedCode, isHiddenWhereNobodyAskedForIt) {
  EXPECT_EQ(codeIn(paintedWindow("paired")), std::nullopt);
  EXPECT_EQ(codeIn(paintedWindow("keychain-locked")), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Scales, PaintedCode,
                         testing::Values(PaintedWindow{"1", false}, PaintedWindow{"1", true},
                                         PaintedWindow{"1.25", false}, PaintedWindow{"1.25", true},
                                         PaintedWindow{"1.5", false}, PaintedWindow{"1.5", true},
                                         PaintedWindow{"2", false}, PaintedWindow{"2", true}));

/// The view alone, painted at a device pixel ratio and at a place that is no whole pixel there.
QImage painted(CodeView& view, double ratio, QPointF place) {
  const QSize pixels = ((QSizeF(view.sizeHint()) + QSizeF(4, 4)) * ratio).toSize();
  QImage picture(pixels, QImage::Format_RGB32);
  picture.setDevicePixelRatio(ratio);
  picture.fill(QColor(60, 60, 60));
  QPainter painter(&picture);
  painter.translate(place);
  view.render(&painter, QPoint(), QRegion(), QWidget::RenderFlags());
  return picture;
}

TEST(CodeView, coversWholePixelsWithEachModuleWhereverItLies) {
  CodeView view;
  view.apply(QRCodeRenderer::image(bytesOf(gallery::pairingText()), 10), "Scan me.");
  view.resize(view.sizeHint());
  for (const double ratio : {1.0, 1.25, 1.5, 2.0})
    for (const QPointF place : {QPointF(0, 0), QPointF(1, 3)}) {
      const QImage picture = painted(view, ratio, place);
      // Inside the white plate there are no greys: every edge lies between two pixels.
      const int middle = picture.height() / 2;
      const int margin = static_cast<int>(6 * ratio);
      std::set<QRgb> colors;
      for (int x = margin; x < picture.width() - margin; ++x)
        colors.insert(picture.pixel(x, middle));
      EXPECT_EQ(colors, (std::set<QRgb>{qRgb(0, 0, 0), qRgb(255, 255, 255)})) << ratio;
      EXPECT_EQ(codeIn(picture), gallery::pairingText()) << ratio;
    }
}

TEST(CodeView, isNoSmallerThanTheLayoutSays) {
  CodeView view;
  view.apply(QRCodeRenderer::image(bytesOf("x"), 10), "Scan me.");
  EXPECT_EQ(view.sizeHint().width(), 208);
  view.apply(QRCodeRenderer::image(Bytes(2331, 'x'), 4), "Scan me.");
  EXPECT_EQ(view.sizeHint().width(), 208) << "one pixel for each of 185 modules";
}

}  // namespace
}  // namespace tallyfox::linux_os
