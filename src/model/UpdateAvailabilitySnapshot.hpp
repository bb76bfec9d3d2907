#pragma once

#include <optional>
#include <string>

namespace tallyfox {

/// Whether an update waits for the owner.
struct UpdateAvailabilitySnapshot {
  bool isUpdateAvailable = false;
  std::optional<std::string> displayVersion;

  bool operator==(const UpdateAvailabilitySnapshot&) const = default;
};

}  // namespace tallyfox
