// The painted application icon, and the files that the build makes of it.

#include "platform/linux/window/ApplicationIconPainter.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QXmlStreamReader>
#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/linux/window/TemplateImagePainter.hpp"
#include "ui/IconSvg.hpp"

namespace tallyfox::linux_os {
namespace {

const QString iconFolder = QString(TALLYFOX_ICONS) + "/hicolor/";

/// The colour at a point of the icon's own 64, y downwards.
QColor colorAt(const QImage& image, double x, double y) {
  return image.pixelColor(static_cast<int>(x * image.width() / 64), static_cast<int>(y * image.height() / 64));
}

void expectNear(const QColor& color, const Color& expected, int by) {
  const QColor wanted = qtColor(expected);
  EXPECT_EQ(color.alpha(), 255);
  EXPECT_NEAR(color.red(), wanted.red(), by);
  EXPECT_NEAR(color.green(), wanted.green(), by);
  EXPECT_NEAR(color.blue(), wanted.blue(), by);
}

TEST(ApplicationIconPainter, paintsThePlateFromGreenToDark) {
  const QImage image = renderedApplicationIcon(applicationIcon(256), 256);
  EXPECT_EQ(image.size(), QSize(256, 256));
  expectNear(colorAt(image, 32, 4.5), app_brand::green, 4);
  expectNear(colorAt(image, 32, 59.5), app_brand::successPill, 4);
  for (const double x : {2.0, 62.0})
    for (const double y : {2.0, 62.0})
      EXPECT_EQ(colorAt(image, x, y).alpha(), 0);
  EXPECT_EQ(colorAt(image, 5, 5).alpha(), 0);  // beyond the rounded corner
}

TEST(ApplicationIconPainter, paintsTheLayersInTheirOrder) {
  const ApplicationIcon icon = applicationIcon(256);
  const QImage image = renderedApplicationIcon(icon, 256);
  const auto& ring = std::get<drawing::FilledOval>(icon.layers[2].image.commands.front()).rectangle;
  const double middle = 64 - (ring.y + ring.height / 2);
  expectNear(colorAt(image, ring.x + 1, middle), {.red = 1, .green = 1, .blue = 1}, 1);
  expectNear(colorAt(image, ring.x - 1, middle), app_brand::successPill, 1);
  const auto& tick = std::get<drawing::StrokedLines>(icon.layers[3].image.commands.front()).lines.front()[1];
  expectNear(colorAt(image, tick.x, 64 - tick.y), app_brand::successPill, 1);
}

TEST(ApplicationWindowIcon, isDrawnAnewForEverySizeThatIsShown) {
  const QIcon icon = applicationWindowIcon();
  for (const int pixels : {16, 24, 32, 48, 64, 128})
    EXPECT_EQ(icon.pixmap(pixels, pixels).toImage().convertToFormat(QImage::Format_ARGB32),
              renderedApplicationIcon(applicationIcon(pixels), pixels).convertToFormat(QImage::Format_ARGB32))
        << pixels;
}

TEST(ApplicationIconFiles, areThereInEverySize) {
  for (const int pixels : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
    const QImage image(iconFolder + QString("%1x%1/apps/com.tallyfox.agent.png").arg(pixels));
    EXPECT_EQ(image.size(), QSize(pixels, pixels));
    EXPECT_EQ(image.convertToFormat(QImage::Format_ARGB32),
              renderedApplicationIcon(applicationIcon(pixels), pixels).convertToFormat(QImage::Format_ARGB32))
        << pixels;
  }
}

TEST(ApplicationIconFiles, areWellFormedDrawings) {
  for (const auto& [name, expected] :
       {std::pair<QString, std::string>{"scalable/apps/com.tallyfox.agent.svg", svgText(applicationIcon(64))},
        {"symbolic/apps/com.tallyfox.agent-symbolic.svg", svgText(symbolicIcon())}}) {
    QFile file(iconFolder + name);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    const QByteArray text = file.readAll();
    EXPECT_EQ(text.toStdString(), expected);
    QXmlStreamReader reader(text);
    ASSERT_TRUE(reader.readNextStartElement());
    EXPECT_EQ(reader.name(), u"svg");
    EXPECT_EQ(reader.namespaceUri(), u"http://www.w3.org/2000/svg");
    while (!reader.atEnd())
      reader.readNext();
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
  }
}

/// Where the largest difference of a colour component is, and how large.
int largestDifference(const QImage& one, const QImage& other) {
  int largest = 0;
  for (int y = 0; y < one.height(); ++y)
    for (int x = 0; x < one.width(); ++x) {
      const QColor first = one.pixelColor(x, y);
      const QColor second = other.pixelColor(x, y);
      largest = std::max({largest, std::abs(first.red() - second.red()), std::abs(first.green() - second.green()),
                          std::abs(first.blue() - second.blue()), std::abs(first.alpha() - second.alpha())});
    }
  return largest;
}

// A Mac has no painter of ours to build with: it takes the pictures that lie in the repository.
TEST(ApplicationIconFiles, areForTheMacAsTheyLieInTheRepository) {
  const QString drawn = QString(TALLYFOX_ICONS) + "/Tallyfox.iconset/";
  const QString kept = TALLYFOX_SOURCE_DIR "/packaging/macos/Tallyfox.iconset/";
  for (const int points : {16, 32, 128, 256, 512})
    for (const int scale : {1, 2}) {
      const QString name = QString("icon_%1x%1%2.png").arg(points).arg(scale == 2 ? "@2x" : "");
      const QImage picture(drawn + name);
      const QImage other(kept + name);
      ASSERT_EQ(picture.size(), QSize(points * scale, points * scale)) << name.toStdString();
      ASSERT_EQ(other.size(), picture.size()) << name.toStdString();
      EXPECT_LE(largestDifference(picture, other), 3)
          << name.toStdString() << " differs: copy the folder " << drawn.toStdString() << " to " << kept.toStdString();
    }
  EXPECT_EQ(QDir(kept).entryList(QDir::Files).size(), 10);
}

TEST(ApplicationIconFiles, failAloudWhereTheyCannotBeWritten) {
  const auto exitStatus = [](const std::string& arguments) {
    const int status = std::system((TALLYFOX_ICONS_PROGRAM + arguments + " 2>/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  };
  EXPECT_EQ(exitStatus(""), 2);
  EXPECT_EQ(exitStatus(" /dev/null/icons"), 1);
}

}  // namespace
}  // namespace tallyfox::linux_os
