#pragma once

#include <QWidget>

namespace tallyfox::linux_os {

/// Shows a window on the present workspace, above the others and with the keyboard, also when it was minimised, behind
/// others or on another workspace. Only for what the owner asked to see: window managers are told so.
void summon(QWidget& window);

}  // namespace tallyfox::linux_os
