#pragma once

#include "platform/ApplicationBundle.hpp"

namespace tallyfox {

/// Whether the application runs from an Applications folder (a folder itself, or anything below it).
[[nodiscard]] bool isRunningFromApplications(ApplicationBundle& bundle);

}  // namespace tallyfox
