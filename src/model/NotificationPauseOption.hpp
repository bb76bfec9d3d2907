#pragma once

namespace tallyfox {

/// How long the owner wants to hear nothing.
enum class NotificationPauseOption { twoHours, fourHours, untilTomorrow, indefinitely };

}  // namespace tallyfox
