#pragma once

#include <string_view>

namespace tallyfox::posix_os {

/// One component of a path that cannot lead elsewhere: not empty, no "/", no NUL, not hidden, at most 200 bytes.
[[nodiscard]] bool isPlainFileName(std::string_view name);

}  // namespace tallyfox::posix_os
