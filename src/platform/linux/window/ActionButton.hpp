#pragma once

#include <QPushButton>
#include <functional>
#include <optional>
#include <string>

#include "platform/linux/window/FocusRing.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// What a button tells when it is pressed; the button itself says where.
using ActionHandler = std::function<void(StatusWindowAction, QWidget& origin)>;

/// A button of the status window. Space and Enter press it; a ring shows where the keyboard is.
class ActionButton : public QPushButton {
 public:
  explicit ActionButton(ActionHandler onAction);

  /// Without a model the button is hidden. `subject` tells assistive programs what the button is about.
  void apply(const std::optional<ButtonModel>& model, const std::string& subject);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;

 private:
  std::optional<ButtonModel> model_;
  ActionHandler onAction_;
  FocusRing ring_;
};

}  // namespace tallyfox::linux_os
