#pragma once

#include <chrono>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiReference.hpp"

namespace tallyfox::linux_os {

/// What a search learnt of a dialog that belongs to its objects for as long as they live: roles, and places in the
/// tree. It holds for as long as the same objects are shown in the same order.
struct DialogShape {
  using Clock = std::chrono::steady_clock;

  std::uint32_t role = 0;             ///< the dialog's own
  std::vector<AtspiReference> shown;  ///< in the order of the tree
  std::unordered_map<AtspiReference, std::uint32_t> roles;
  std::unordered_map<AtspiReference, std::vector<AtspiReference>> children;  ///< of the dialog and of all that is shown
  Clock::time_point learntAt;
};

}  // namespace tallyfox::linux_os
