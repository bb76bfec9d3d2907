#pragma once

#include <expected>

#include "platform/linux/AtspiReading.hpp"

namespace tallyfox::linux_os {

/// The deepest object at a point, in the window that the X server has topmost there: a menu, a foreign window or one
/// that is not accessible never lets what lies below it through.
[[nodiscard]] std::expected<AtspiReference, AXError> objectAt(AXPoint point, AtspiReading& reading);

}  // namespace tallyfox::linux_os
