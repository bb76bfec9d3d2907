#pragma once

#include <string>

namespace tallyfox::mac_os {

/// This user's own folder for temporary files; absolute, without a trailing "/". Any thread.
[[nodiscard]] std::string temporaryDirectory();

}  // namespace tallyfox::mac_os
