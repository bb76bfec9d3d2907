#include "platform/posix/PlainFileName.hpp"

#include <cstddef>

namespace tallyfox::posix_os {

bool isPlainFileName(std::string_view name) {
  constexpr std::size_t longest = 200;  // leaves room in NAME_MAX for the names of files that are being written
  return !name.empty() && name.size() <= longest && !name.starts_with('.') &&
         name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

}  // namespace tallyfox::posix_os
