#pragma once

#include <string>

#include "ui/MenuBarIcon.hpp"

namespace tallyfox::linux_os {

/// The side of a symbol's square canvas, in points.
inline constexpr double symbolSide = 20;

/// Our own drawings of the Mac's symbols that the rows name; an empty canvas for any other name.
[[nodiscard]] TemplateImage statusSymbol(const std::string& name);

}  // namespace tallyfox::linux_os
