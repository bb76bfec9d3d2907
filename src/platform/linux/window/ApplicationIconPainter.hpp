#pragma once

#include <QIcon>
#include <QImage>

#include "ui/ApplicationIcon.hpp"

namespace tallyfox::linux_os {

/// The icon on a transparent ground, so many pixels wide and high.
[[nodiscard]] QImage renderedApplicationIcon(const ApplicationIcon& icon, int pixels);

/// The application's icon in the sizes that window lists and switchers show, also where it is not installed.
[[nodiscard]] QIcon applicationWindowIcon();

}  // namespace tallyfox::linux_os
