#pragma once

#include <string_view>

#include "base/Queue.hpp"

namespace tallyfox {

/// Calls the task of the queue with that label. An exception that leaves it ends the process.
void runGuarded(std::string_view label, Task& task);

}  // namespace tallyfox
