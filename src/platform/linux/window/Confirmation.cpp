#include "platform/linux/window/Confirmation.hpp"

#include <QPushButton>
#include <utility>

#include "platform/linux/window/Localized.hpp"

namespace tallyfox::linux_os {

Confirmation::Confirmation(QWidget& window, const ConfirmationModel& model, std::function<void()> onConfirmed)
    : QMessageBox(&window) {
  setAttribute(Qt::WA_DeleteOnClose);
  setPalette(window.palette());
  setWindowTitle(localized(model.title));
  setTextFormat(Qt::PlainText);
  setText(localized(model.title));
  setInformativeText(localized(model.detail));
  const QAbstractButton* confirm = addButton(localized(model.confirmTitle), QMessageBox::DestructiveRole);
  QPushButton* cancel = addButton(localized(model.cancelTitle), QMessageBox::RejectRole);
  setDefaultButton(cancel);
  setEscapeButton(cancel);
  connect(this, &QMessageBox::buttonClicked, this,
          [confirm, onConfirmed = std::move(onConfirmed)](const QAbstractButton* pressed) {
            if (pressed == confirm) onConfirmed();
          });
}

}  // namespace tallyfox::linux_os
