#pragma once

#include <QWidget>

#include "platform/linux/window/PillView.hpp"
#include "platform/linux/window/TextLabel.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// The top of the window: what it is, how things stand in a word and in a sentence, and the application menu.
class StatusHeader : public QWidget {
 public:
  explicit StatusHeader(const QList<QAction*>& menuEntries);

  void apply(const StatusWindowModel& model);

 private:
  TextLabel* title_;
  TextLabel* headline_;
  TextLabel* detail_;
  PillView* pill_;
};

}  // namespace tallyfox::linux_os
