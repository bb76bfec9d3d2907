#pragma once

#include <QMessageBox>
#include <functional>

#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// A question before something that cannot be taken back. Enter and Escape both mean no. It deletes itself once it is
/// answered.
class Confirmation : public QMessageBox {
 public:
  Confirmation(QWidget& window, const ConfirmationModel& model, std::function<void()> onConfirmed);
};

}  // namespace tallyfox::linux_os
