#include "platform/linux/window/ApplicationActions.hpp"

#include "platform/linux/window/Localized.hpp"

namespace tallyfox::linux_os {

ApplicationActions::ApplicationActions(std::function<void(ApplicationMenuAction)> onAction)
    : onAction_(std::move(onAction)) {
  for (const auto& entry : applicationMenu(false)) {
    auto* action = new QAction(localized(entry.title), &owner_);
    action->setSeparator(!entry.action.has_value());
    action->setShortcut(menuShortcut(entry.keyEquivalent));
    action->setEnabled(entry.isEnabled);
    if (entry.action)
      QObject::connect(action, &QAction::triggered, &owner_, [this, chosen = *entry.action] { onAction_(chosen); });
  }
}

void ApplicationActions::setCanCheckForUpdates(bool canCheck) {
  const auto menu = applicationMenu(canCheck);
  const QList<QAction*> shown = entries();
  for (std::size_t i = 0; i < menu.size(); ++i)
    shown.at(static_cast<qsizetype>(i))->setEnabled(menu[i].isEnabled);
}

QList<QAction*> ApplicationActions::entries() const {
  return owner_.findChildren<QAction*>(Qt::FindDirectChildrenOnly);
}

QKeySequence menuShortcut(const std::string& keyEquivalent) {
  if (keyEquivalent.empty()) return {};
  return QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(keyEquivalent).toUpper());
}

}  // namespace tallyfox::linux_os
