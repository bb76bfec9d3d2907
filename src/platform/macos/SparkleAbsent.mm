// In place of SparkleUpdater.mm in a build without the framework's headers: such an agent has no updates of its own.

#include "platform/macos/SparkleUpdater.hpp"

namespace tallyfox::mac_os {

std::unique_ptr<Updater> SparkleUpdater::load(Console& /*console*/) {
  return nullptr;
}

}  // namespace tallyfox::mac_os
