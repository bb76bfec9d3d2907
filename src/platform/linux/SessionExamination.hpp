#pragma once

#include <string>

#include "platform/DoctorFacts.hpp"

namespace tallyfox::linux_os {

/// Looks at what the session bus offers, each over a connection of its own, each for a few seconds at most. An empty
/// address stands for the user's own bus. Starts at most the accessibility bus, as every program does that asks for it.

[[nodiscard]] DoctorAnswer<bool> examinedAccessibilitySwitch(const std::string& sessionBusAddress);
[[nodiscard]] DoctorAnswer<void> examinedAccessibilityBus(const std::string& sessionBusAddress);
/// The name of the service, empty while it only waits to be started.
[[nodiscard]] DoctorAnswer<std::string> examinedNotifications(const std::string& sessionBusAddress);
/// Whether tray icons that announce themselves on the bus are shown.
[[nodiscard]] DoctorAnswer<bool> examinedStatusNotifiers(const std::string& sessionBusAddress);

}  // namespace tallyfox::linux_os
