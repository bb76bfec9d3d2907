#include "platform/linux/CurrentDesktop.hpp"

#include <sstream>

namespace tallyfox::linux_os {

std::vector<std::string> currentDesktopNames(Environment& environment) {
  std::vector<std::string> names;
  std::istringstream list(environment.value("XDG_CURRENT_DESKTOP").value_or(""));
  for (std::string name; std::getline(list, name, ':');)
    if (!name.empty()) names.push_back(name);
  return names;
}

}  // namespace tallyfox::linux_os
