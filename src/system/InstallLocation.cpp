#include "system/InstallLocation.hpp"

#include <algorithm>
#include <string>

namespace tallyfox {

bool isRunningFromApplications(ApplicationBundle& bundle) {
  const std::string path = bundle.path();
  return std::ranges::any_of(bundle.applicationDirectories(), [&](const std::string& directory) {
    return path == directory || path.starts_with(directory + "/");
  });
}

}  // namespace tallyfox
