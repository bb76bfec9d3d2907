#pragma once

#include <cstdint>
#include <ctime>

namespace tallyfox::mac_os {

/// Nanoseconds on the clock of mach_continuous_time, which never jumps and goes on while the machine sleeps; only
/// differences mean anything. CLOCK_MONOTONIC would follow the adjustments of the wall clock.
[[nodiscard]] inline std::int64_t continuousNanoseconds() {
  return static_cast<std::int64_t>(::clock_gettime_nsec_np(CLOCK_MONOTONIC_RAW));
}

}  // namespace tallyfox::mac_os
