#include "platform/posix/StandardOutputConsole.hpp"

#include <algorithm>
#include <cerrno>
#include <string>

namespace tallyfox::posix_os {

void StandardOutputConsole::printLine(std::string_view line) {
  std::string text(line);
  // Names from other programs reach these lines: none may forge a second line or move the cursor.
  std::ranges::replace_if(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
  text += '\n';
  std::string_view rest = text;
  const std::scoped_lock lock(mutex_);
  while (!rest.empty()) {
    const ssize_t written = ::write(fd_, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace tallyfox::posix_os
