#include "platform/linux/window/Confirmation.hpp"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <utility>

#include "platform/linux/window/Localized.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int textWidth = 320;

/// The toolkit would make a short question so narrow that its title is cut off, and show it no different from what
/// follows.
void emphasize(QMessageBox& box) {
  if (auto* grid = qobject_cast<QGridLayout*>(box.layout()))
    grid->addItem(new QSpacerItem(textWidth, 0), grid->rowCount(), 0, 1, grid->columnCount());
  for (QLabel* label : box.findChildren<QLabel*>()) {
    if (label->text() != box.text()) continue;
    QFont bold = label->font();
    bold.setWeight(QFont::DemiBold);
    label->setFont(bold);
  }
}

}  // namespace

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
  emphasize(*this);
  connect(this, &QMessageBox::buttonClicked, this,
          [confirm, onConfirmed = std::move(onConfirmed)](const QAbstractButton* pressed) {
            if (pressed == confirm) onConfirmed();
          });
}

}  // namespace tallyfox::linux_os
