// Paints the status window in one of its states:
//   tallyfox-window-gallery STATE [--dark] [--fitted] OUTPUT.png
// On no screen unless QT_QPA_PLATFORM names one; QT_SCALE_FACTOR scales it. The window is painted as on a screen that
// has room for all of it, with --fitted as it is on the present one.

#include <QApplication>
#include <QStyleFactory>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindow.hpp"
#include "window/GalleryStates.hpp"

namespace {

int explainUsage() {
  std::fputs("tallyfox-window-gallery STATE [--dark] [--fitted] OUTPUT.png\nStates:", stderr);
  for (const std::string_view name : tallyfox::gallery::stateNames)
    std::fprintf(stderr, " %s", std::string(name).c_str());
  std::fputs("\n", stderr);
  return 2;
}

struct Order {
  std::vector<std::string> names;  ///< of the state and of the picture
  tallyfox::Appearance appearance = tallyfox::Appearance::light;
  bool isFitted = false;
};

Order orderOf(const QStringList& arguments) {
  Order order;
  for (const QString& argument : arguments) {
    if (argument == QStringLiteral("--dark")) {
      order.appearance = tallyfox::Appearance::dark;
    } else if (argument == QStringLiteral("--fitted")) {
      order.isFitted = true;
    } else {
      order.names.push_back(argument.toStdString());
    }
  }
  return order;
}

bool paint(const tallyfox::StatusWindowModel& model, const Order& order) {
  const tallyfox::linux_os::ApplicationActions menu([](tallyfox::ApplicationMenuAction) {});
  const auto window = std::make_unique<tallyfox::linux_os::StatusWindow>(
      tallyfox::linux_os::StatusWindow::Callbacks{.onAction = [](tallyfox::StatusWindowAction, QWidget&) {},
                                                  .onClosed = [] {}},
      menu.entries());
  window->setAppearance(order.appearance);
  window->apply(model);
  if (!order.isFitted) {
    const int width = static_cast<int>(tallyfox::status_window_layout::compactWidth);
    window->resize(width, window->findChild<QScrollArea*>()->widget()->heightForWidth(width));
  }
  window->show();
  QCoreApplication::processEvents();
  return window->grab().save(QString::fromStdString(order.names[1]));
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  const Order order = orderOf(QCoreApplication::arguments().mid(1));
  const auto state = order.names.size() == 2 ? tallyfox::gallery::stateNamed(order.names[0]) : std::nullopt;
  if (!state) return explainUsage();
  return paint(state->model(), order) ? 0 : 1;
}
