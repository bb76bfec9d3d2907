#pragma once

#include <optional>
#include <string>

#include "platform/DoctorFacts.hpp"

namespace tallyfox::linux_os {

/// Looks at an X display over a connection of its own. May wait as long as the server does not answer.
[[nodiscard]] DoctorAnswer<DoctorFacts::Display> examinedDisplay(const std::optional<std::string>& display);

}  // namespace tallyfox::linux_os
