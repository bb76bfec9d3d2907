#include "platform/linux/window/PauseMenu.hpp"

#include <utility>

#include "platform/linux/window/Localized.hpp"

namespace tallyfox::linux_os {

PauseMenu::PauseMenu(QWidget& button, bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice)
    : QMenu(&button), button_(button) {
  setAttribute(Qt::WA_DeleteOnClose);
  setPalette(button.palette());
  setAccessibleName(localized("Pause Options"));
  for (const auto& entry : pauseMenu(isPaused)) {
    QAction* action = addAction(localized(entry.title));
    action->setSeparator(!entry.action.has_value());
    if (entry.action)
      connect(action, &QAction::triggered, &button, [onChoice, choice = *entry.action] { onChoice(choice); });
  }
}

void PauseMenu::open() {
  const QPoint below(layoutDirection() == Qt::RightToLeft ? button_.width() - sizeHint().width() : 0,
                     button_.height() + static_cast<int>(pauseMenuOffset));
  popup(button_.mapToGlobal(below));
}

}  // namespace tallyfox::linux_os
