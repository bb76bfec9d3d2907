#pragma once

#include <QImage>

#include "ui/ApplicationIcon.hpp"

namespace tallyfox::linux_os {

/// The icon on a transparent ground, so many pixels wide and high.
[[nodiscard]] QImage renderedApplicationIcon(const ApplicationIcon& icon, int pixels);

}  // namespace tallyfox::linux_os
