// usage: tallyfox-icons OUTPUT_DIR
// Writes the application's icons there: hicolor, a tree for share/icons, and Tallyfox.iconset, from which a Mac makes
// the application's icon.

#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QString>
#include <cstdlib>
#include <iostream>
#include <string>

#include "platform/linux/window/ApplicationIconPainter.hpp"
#include "ui/IconSvg.hpp"

namespace {

using namespace tallyfox;

bool writeText(const QDir& root, const QString& folder, const QString& name, const std::string& text) {
  QFile file(root.filePath(folder + "/" + name));
  return root.mkpath(folder) && file.open(QIODevice::WriteOnly) &&
         file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) && file.flush();
}

bool writePicture(const QDir& root, const QString& folder, const QString& name, int pixels) {
  QImageWriter writer(root.filePath(folder + "/" + name));
  writer.setCompression(100);
  return root.mkpath(folder) && writer.write(linux_os::renderedApplicationIcon(applicationIcon(pixels), pixels));
}

bool writeIcons(const QDir& root) {
  constexpr double scalablePixels = 64;
  for (const int pixels : {16, 22, 24, 32, 48, 64, 128, 256, 512})
    if (!writePicture(root, QString("%1x%1/apps").arg(pixels), "com.tallyfox.agent.png", pixels)) return false;
  return writeText(root, "scalable/apps", "com.tallyfox.agent.svg", svgText(applicationIcon(scalablePixels))) &&
         writeText(root, "symbolic/apps", "com.tallyfox.agent-symbolic.svg", svgText(symbolicIcon()));
}

/// Each size also for displays with twice as many pixels a point.
bool writeIconSet(const QDir& root) {
  for (const int points : {16, 32, 128, 256, 512})
    if (!writePicture(root, ".", QString("icon_%1x%1.png").arg(points), points) ||
        !writePicture(root, ".", QString("icon_%1x%1@2x.png").arg(points), 2 * points))
      return false;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tallyfox-icons OUTPUT_DIR\n";
    return 2;
  }
  const QDir output(argv[1]);
  if (writeIcons(QDir(output.filePath("hicolor"))) && writeIconSet(QDir(output.filePath("Tallyfox.iconset"))))
    return EXIT_SUCCESS;
  std::cerr << "tallyfox-icons: cannot write to " << argv[1] << "\n";
  return EXIT_FAILURE;
}
