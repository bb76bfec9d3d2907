#pragma once

#include <cstdint>

namespace tallyfox::mac_os {

/// Whether there is such a process and it has not ended; one that ended counts as gone also before its parent has
/// taken notice. True when the system would not tell. Any thread.
[[nodiscard]] bool isProcessRunning(std::int32_t processIdentifier);

}  // namespace tallyfox::mac_os
