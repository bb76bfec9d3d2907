#include "platform/macos/ProcessStatus.hpp"

#include <sys/proc.h>
#include <sys/sysctl.h>
#include <sys/types.h>

#include <array>
#include <cstddef>

namespace tallyfox::mac_os {

bool isProcessRunning(std::int32_t processIdentifier) {
  if (processIdentifier <= 0) return false;
  std::array<int, 4> name = {CTL_KERN, KERN_PROC, KERN_PROC_PID, processIdentifier};
  struct kinfo_proc process{};
  std::size_t size = sizeof process;
  if (sysctl(name.data(), name.size(), &process, &size, nullptr, 0) != 0) return true;
  // For a process that is not there, the call succeeds with nothing.
  return size == sizeof process && process.kp_proc.p_stat != SZOMB;
}

}  // namespace tallyfox::mac_os
