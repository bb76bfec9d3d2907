#pragma once

#include <QAction>
#include <QObject>
#include <functional>

#include "ui/Menu.hpp"

namespace tallyfox::linux_os {

/// The entries of the menu named "Tallyfox", shared by every place that shows them: a change shows everywhere.
class ApplicationActions {
 public:
  /// Checking for updates is disabled until told otherwise.
  explicit ApplicationActions(std::function<void(ApplicationMenuAction)> onAction);

  void setCanCheckForUpdates(bool canCheck);
  [[nodiscard]] QList<QAction*> entries() const;

 private:
  std::function<void(ApplicationMenuAction)> onAction_;
  QObject owner_;
};

/// The key of a menu entry with this desktop's menu modifier; none for an empty text.
[[nodiscard]] QKeySequence menuShortcut(const std::string& keyEquivalent);

}  // namespace tallyfox::linux_os
