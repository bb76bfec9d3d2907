#pragma once

#include <memory>

#include "base/Console.hpp"
#include "platform/Updater.hpp"

namespace tallyfox::mac_os {

/// Updates by the Sparkle framework, which is loaded from the application's own frameworks folder and from nowhere
/// else. The agent is not linked with it and starts without it.
struct SparkleUpdater {
  /// Null when the application holds no such framework, or none that can be loaded, or when the agent was built without
  /// the framework's headers. What goes wrong here and later is told on `console`, which outlives the updater. Main
  /// thread.
  [[nodiscard]] static std::unique_ptr<Updater> load(Console& console);
};

}  // namespace tallyfox::mac_os
