// usage: tallyfox-icons OUTPUT_DIR
// Writes the application's icons there as a tree for share/icons.

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

bool writePicture(const QDir& root, int pixels) {
  const QString folder = QString("%1x%1/apps").arg(pixels);
  QImageWriter writer(root.filePath(folder + "/com.tallyfox.agent.png"));
  writer.setCompression(100);
  return root.mkpath(folder) && writer.write(linux_os::renderedApplicationIcon(applicationIcon(pixels), pixels));
}

bool writeIcons(const QDir& root) {
  constexpr double scalablePixels = 64;
  for (const int pixels : {16, 22, 24, 32, 48, 64, 128, 256, 512})
    if (!writePicture(root, pixels)) return false;
  return writeText(root, "scalable/apps", "com.tallyfox.agent.svg", svgText(applicationIcon(scalablePixels))) &&
         writeText(root, "symbolic/apps", "com.tallyfox.agent-symbolic.svg", svgText(symbolicIcon()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tallyfox-icons OUTPUT_DIR\n";
    return 2;
  }
  if (writeIcons(QDir(QDir(argv[1]).filePath("hicolor")))) return EXIT_SUCCESS;
  std::cerr << "tallyfox-icons: cannot write to " << argv[1] << "\n";
  return EXIT_FAILURE;
}
