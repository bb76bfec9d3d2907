#pragma once

#include <gtest/gtest.h>

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <string>
#include <vector>

#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindow.hpp"
#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {

/// A status window that shows models and notes what it is asked.
class StatusWindowTest : public testing::Test {
 protected:
  ~StatusWindowTest() override { delete window.data(); }

  void show(const StatusWindowModel& model, Appearance appearance = Appearance::light) {
    if (!window) {
      window = new StatusWindow({.onAction = [this](StatusWindowAction action, QWidget&) { actions.push_back(action); },
                                 .onClosed = [this] { ++closings; }},
                                menu.entries());
      window->setAppearance(appearance);
    }
    window->apply(model);
    window->show();
    window->activateWindow();
    settle();
  }

  [[nodiscard]] std::vector<std::string> visibleTexts() const {
    std::vector<std::string> texts;
    for (const QLabel* label : window->findChildren<QLabel*>())
      if (label->isVisible()) texts.push_back(label->text().toStdString());
    for (const QPushButton* each : window->findChildren<QPushButton*>())
      if (each->isVisible()) texts.push_back(each->text().toStdString());
    return texts;
  }

  std::vector<StatusWindowAction> actions;
  std::vector<ApplicationMenuAction> menuActions;
  int closings = 0;
  ApplicationActions menu{[this](ApplicationMenuAction action) { menuActions.push_back(action); }};
  QPointer<StatusWindow> window;
};

}  // namespace tallyfox::linux_os
