// Paints the status window in one of its states:
//   tallyfox-window-gallery STATE [--dark] OUTPUT.png
// On no screen unless QT_QPA_PLATFORM names one; QT_SCALE_FACTOR scales it.

#include <QApplication>
#include <QStyleFactory>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindow.hpp"
#include "window/GalleryStates.hpp"

namespace {

int explainUsage() {
  std::fputs("tallyfox-window-gallery STATE [--dark] OUTPUT.png\nStates:", stderr);
  for (const std::string_view name : tallyfox::gallery::stateNames)
    std::fprintf(stderr, " %s", std::string(name).c_str());
  std::fputs("\n", stderr);
  return 2;
}

bool paint(const tallyfox::StatusWindowModel& model, tallyfox::Appearance appearance, const std::string& path) {
  const tallyfox::linux_os::ApplicationActions menu([](tallyfox::ApplicationMenuAction) {});
  auto* window = new tallyfox::linux_os::StatusWindow(
      {.onAction = [](tallyfox::StatusWindowAction, QWidget&) {}, .onClosed = [] {}}, menu.entries());
  window->setAppearance(appearance);
  window->apply(model);
  // As on a screen that has room for all of it.
  const int width = static_cast<int>(tallyfox::status_window_layout::compactWidth);
  window->resize(width, window->findChild<QScrollArea*>()->widget()->heightForWidth(width));
  window->show();
  QCoreApplication::processEvents();
  const bool isSaved = window->grab().save(QString::fromStdString(path));
  delete window;
  return isSaved;
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  std::vector<std::string> names;
  auto appearance = tallyfox::Appearance::light;
  for (const QString& argument : QCoreApplication::arguments().mid(1)) {
    if (argument == QStringLiteral("--dark")) {
      appearance = tallyfox::Appearance::dark;
    } else {
      names.push_back(argument.toStdString());
    }
  }
  if (names.size() != 2) return explainUsage();
  const auto state = tallyfox::gallery::stateNamed(names[0]);
  if (!state) return explainUsage();
  return paint(state->model(), appearance, names[1]) ? 0 : 1;
}
