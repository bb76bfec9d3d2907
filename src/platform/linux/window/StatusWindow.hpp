#pragma once

#include <QBoxLayout>
#include <QPointer>
#include <QScrollArea>
#include <QWidget>
#include <functional>
#include <optional>

#include "platform/linux/window/ActionButton.hpp"
#include "platform/linux/window/Confirmation.hpp"
#include "platform/linux/window/PairingCard.hpp"
#include "platform/linux/window/StatusHeader.hpp"
#include "platform/linux/window/StatusRowCard.hpp"
#include "ui/StatusWindowLayout.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// The status window's widgets: they show a model and tell what is pressed. Closing the window deletes it.
class StatusWindow : public QWidget {
 public:
  struct Callbacks {
    ActionHandler onAction;
    std::function<void()> onClosed;
  };
  /// The menu's entries outlive the window.
  StatusWindow(Callbacks callbacks, const QList<QAction*>& menuEntries);

  /// Changes only what differs from what is shown, and the window's size with it where the content needs another.
  void apply(const StatusWindowModel& model);
  /// Recolours everything at once.
  void setAppearance(Appearance appearance);
  /// Asks once: while the question is open, asking again only brings it forward.
  void ask(const ConfirmationModel& question, std::function<void()> onConfirmed);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void arrangeContent();
  void watchScreen();
  void addShortcuts(const QList<QAction*>& menuEntries);
  /// The layout and size that suit the present content and screen.
  void fitToScreen();
  void keepOnScreen();
  void setLayoutKind(StatusWindowLayout kind);
  [[nodiscard]] double contentHeight(StatusWindowLayout kind) const;
  void scrollBy(int steps, int step);

  Callbacks callbacks_;
  std::optional<StatusWindowModel> model_;
  StatusHeader* header_;
  StatusRowCard* update_;
  PairingCard* pairing_;
  StatusRowCard* installLocation_;
  StatusRowCard* accessibility_;
  StatusRowCard* loginItem_;
  StatusRowCard* notificationPause_;
  QScrollArea* scroll_;
  QWidget* content_;
  QBoxLayout* columns_ = nullptr;
  std::optional<StatusWindowFit> fit_;
  QMetaObject::Connection screenChanges_;
  QMetaObject::Connection areaChanges_;
  QPointer<Confirmation> question_;
};

}  // namespace tallyfox::linux_os
